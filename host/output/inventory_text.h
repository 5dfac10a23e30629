// Texts from the inventory document ("Modules" > "PhysicalPorts" > "PhysicalFunctions") for a
// terminal. Every function accepts any JSON.
#pragma once

#include <array>
#include <rapidjson/document.h>
#include <string>
#include <string_view>

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

// `text` with U+FFFD for each byte that is not part of a UTF-8 character.
std::string validUtf8(std::string_view text);

// `text` with '?' for each control character. Names in a record come from the adapter's firmware
// and must not control the terminal.
std::string printable(std::string_view text);

// A string as it is, an object {"Address": string} as that string, any other value as compact JSON.
// Without control characters.
std::string valueText(const rapidjson::Value& value);

// The printable value of the string member `key`; empty when there is no such string.
std::string textMember(const rapidjson::Value& object, const char* key);

// The document as JSON, indented by two blanks.
std::string prettyJson(const rapidjson::Value& value);

}  // namespace em_pni
