// The inventory document ("Modules" > "PhysicalPorts" > "PhysicalFunctions") put in words for a
// terminal. Every function takes any document whatever.
#pragma once

#include <array>
#include <rapidjson/document.h>
#include <string>
#include <string_view>

namespace em_pni {

// One level of the document: a list, the member that tells its objects apart, what people call one.
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

// `text` with '?' for each control character: names in a record come from the adapter's maker and
// must not steer the terminal.
std::string printable(std::string_view text);

// A text as it is, an object {"Address": text} as that text, any other value as compact JSON; all
// printable.
std::string valueText(const rapidjson::Value& value);

// The text member `key` of an object, empty when there is none.
std::string textMember(const rapidjson::Value& object, const char* key);

// The whole document as indented JSON.
std::string prettyJson(const rapidjson::Value& value);

}  // namespace em_pni
