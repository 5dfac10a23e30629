// Texts from the inventory document ("Modules" > "PhysicalPorts" > "PhysicalFunctions") for a
// terminal. Every function accepts any JSON.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <rapidjson/document.h>
#include <string>

namespace em_pni {

// One level of the document: the name of the list, the member with an object's id, and the word for
// one object.
struct InventoryLevel {
    const char* list;
    const char* id;
    const char* label;
};

inline constexpr std::array<InventoryLevel, 3> inventoryLevels{{
    {"Modules", "ModuleId", "module"},
    {"PhysicalPorts", "PortId", "port"},
    {"PhysicalFunctions", "PhyFunctionId", "function"},
}};

// A string as it is, an object {"Address": string} as that string, any other value as compact JSON.
// Without control characters.
std::string valueText(const rapidjson::Value& value);

// The printable value of the string member `key`; empty when there is no such string.
std::string textMember(const rapidjson::Value& object, const char* key);

// The non-negative integer member `key`; no value when there is no such number.
std::optional<std::uint64_t> numberMember(const rapidjson::Value& object, const char* key);

// segment:bus:device.function of a function, as lspci writes it. Empty when all are 0: the record
// does not know the address.
std::string pciText(const rapidjson::Value& function);

// "slot 5" or "onboard", as the record says of a module. Empty = another or no place.
std::string slotText(const rapidjson::Value& module);

// The document as JSON, indented by two blanks.
std::string prettyJson(const rapidjson::Value& value);

}  // namespace em_pni
