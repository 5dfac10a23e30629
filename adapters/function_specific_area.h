// The part of a port function that depends on its technology: addresses and option ROM version. It
// stands at the function's addressOffset in the record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "adapters/net_interface_connection_context.h"
#include "devscan/adapter_facts.h"

namespace em_pni {

// Both functions pad the area with zeros until the whole port function is a multiple of 4 bytes.

// Writes zeros for a MAC address that is not known. Stores no IP address when there are more than
// 15 of a family or more than 300 bytes of them. Returns no bytes when the area would be longer
// than 345 bytes. 300 bytes of IP addresses make it that long.
std::vector<std::uint8_t> nicSpecificArea(const AdapterFacts& facts,
                                          const std::vector<IpAddress>& ipAddresses);

// Each name has 16 hexadecimal digits. The record holds both names twice.
std::vector<std::uint8_t> fcSpecificArea(const std::string& nodeName, const std::string& portName,
                                         const std::string& optionRom);

}  // namespace em_pni
