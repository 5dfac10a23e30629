// The names of codes in the record. A code without a name returns null and writes a trace line.
#pragma once

#include <cstdint>

namespace em_pni {

// The location of a module: "Onboard", "Mezzanine", "PCI-AddIn".
const char* moduleTypeName(std::uint8_t code);
const char* moduleTechnologyName(std::uint8_t code);
const char* functionTechnologyName(std::uint8_t code);
// The unit of a link speed.
const char* speedUnitName(std::uint8_t code);
// The wake-on-LAN behaviour. Its names depend on the format version of the record.
const char* wolBehaviorName(std::uint8_t code, std::uint8_t formatVersion);

}  // namespace em_pni
