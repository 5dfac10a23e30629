// The part of a port function that depends on its technology: addresses and option ROM, as the
// record holds them from the function's addressOffset on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "adapters/net_interface_connection_context.h"
#include "devscan/adapter_facts.h"

namespace em_pni {

// Both are as long as keeps the whole function a multiple of 4 bytes.

// A MAC address that is not known is all zeros. Of `ipAddresses`, those of 4 and 16 bytes count; if
// they are more than the record can hold, none is stored. Empty when the area becomes longer than
// it may be, which 300 bytes of addresses already do.
std::vector<std::uint8_t> nicSpecificArea(const AdapterFacts& facts,
                                          const std::vector<IpAddress>& ipAddresses);

// The names as 16 hexadecimal digits each; they stand in the record twice.
std::vector<std::uint8_t> fcSpecificArea(const std::string& nodeName, const std::string& portName,
                                         const std::string& optionRom);

}  // namespace em_pni
