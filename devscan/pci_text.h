// Parsers of texts and bytes that describe PCI functions. They only read their arguments. They skip
// what they do not understand.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devscan/pci_function.h"
#include "platform/bytes.h"

namespace em_pni {

// Sizes and offsets in bytes of the configuration space header (PCI Local Bus 3.0, 6.1).
inline constexpr std::size_t configHeaderSize = 0x40;
inline constexpr std::size_t configHeaderType = 0x0E;

// Ids and class from a `modalias` attribute of sysfs. The address stays unknown.
//
//     pci:v00001AF4d00001041sv00001AF4sd00001041bc02sc00i00
std::optional<PciFunction> parseModalias(std::string_view text);

// /proc/bus/pci/devices: one line per function, fields separated by tabs, numbers hexadecimal: bus
// and devfn ("0318"), vendor and device ("80861521"), interrupt, 7 resource starts, 7 resource
// sizes, driver (optional). The list has no segment, which is 0 in the result, and no class,
// subsystem ids and header type. applyConfigHeader adds these.
std::vector<PciFunction> parseProcPciDevices(std::string_view text);

// Adds class, header type and subsystem ids from the configuration space header. Returns false when
// the vendor or device id differs or there are less than configHeaderSize bytes.
bool applyConfigHeader(CByteView config, PciFunction& function) noexcept;

// Output of "lspci -D -n -vmm": records of lines "Tag:<tab>value", separated by an empty line. All
// numbers are hexadecimal.
std::vector<PciFunction> parseLspciRecords(std::string_view text);

// The device name in a line of "lspci -nn": the text between "]: " and the next "[", without blanks
// at both ends. Returns an empty text for any other line.
//
//     03:00.0 Ethernet controller [0200]: Intel Corporation I350 [8086:1521] (rev 01)
std::string deviceNameOfLspciLine(std::string_view line);

// Output of "localcli hardware pci list": one record per function. Its first line is the address,
// then lines "Key: value" follow, with or without indent. Key "Slot" is the device number of the
// address. Key "Physical Slot" is the slot.
std::vector<PciFunction> parseLocalcliRecords(std::string_view text);

}  // namespace em_pni
