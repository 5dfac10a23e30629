// Parsers of the texts and bytes that describe PCI functions. All are pure; what they cannot make
// sense of they leave out.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "devscan/pci_function.h"
#include "platform/bytes.h"

namespace em_pni {

// Configuration space header, in bytes (PCI Local Bus 3.0, 6.1).
inline constexpr std::size_t configHeaderSize = 0x40;
inline constexpr std::size_t configHeaderType = 0x0E;

// Ids and class from a `modalias` attribute, the address left unknown:
//
//     pci:v00001AF4d00001041sv00001AF4sd00001041bc02sc00i00
std::optional<PciFunction> parseModalias(std::string_view text);

// /proc/bus/pci/devices: a line per function, tab-separated: bus and devfn ("0318"), vendor and
// device ("80861521"), interrupt, 7 resource starts, 7 resource sizes, driver (may be missing); all
// hexadecimal. Class, subsystem ids and header type are elsewhere, see applyConfigHeader, and the
// segment is nowhere: it stays 0.
std::vector<PciFunction> parseProcPciDevices(std::string_view text);

// Completes a function from its configuration space header. False when that is not this function's:
// other ids, or too few bytes.
bool applyConfigHeader(CByteView config, PciFunction& function) noexcept;

// "lspci -D -n -vmm": records of "Tag:<tab>value" lines, an empty line between them. All numbers
// are hexadecimal.
std::vector<PciFunction> parseLspciRecords(std::string_view text);

// "localcli hardware pci list": a record per function, headed by its address; then lines
// "Key: value", indented or not. "Slot" is the device number there, and "Physical Slot" what is
// called slot here.
std::vector<PciFunction> parseLocalcliRecords(std::string_view text);

}  // namespace em_pni
