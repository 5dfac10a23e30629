// The words that stand for codes of the record. Null, and a trace line, where a code has none.
#pragma once

#include <cstdint>

namespace em_pni {

// Where a module sits: "Onboard", "Mezzanine", "PCI-AddIn".
const char* moduleTypeName(std::uint8_t code);
const char* moduleTechnologyName(std::uint8_t code);
const char* functionTechnologyName(std::uint8_t code);
// Unit of a link speed.
const char* speedUnitName(std::uint8_t code);
// Wake-on-LAN behaviour, whose words depend on the record's format version.
const char* wolBehaviorName(std::uint8_t code, std::uint8_t formatVersion);

}  // namespace em_pni
