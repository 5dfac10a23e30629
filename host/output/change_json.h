// Differences of inventories as JSON.
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <string>
#include <string_view>
#include <vector>

#include "host/output/inventory_diff.h"

namespace em_pni {

// Writes ASCII: other characters become \uXXXX.
using JsonWriter =
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

// Leaves out an empty text. Bytes that are not UTF-8 become U+FFFD.
void writeMember(JsonWriter& writer, const char* key, std::string_view text);

// An array of objects. Members that have no value are left out:
//   "change"    "changed", "added" or "removed"
//   "module", "port", "function"   ids as texts
//   "slot"      "slot 5", "onboard" or "mezzanine"
//   "interface" name of the network interface
//   "pci"       "0000:15:00.0"
//   "member"    name of the member in the inventory; none = the whole object
//   "name"      of a module that was added or removed
//   "before", "after"
void writeChanges(JsonWriter& writer, const std::vector<InventoryChange>& changes);

}  // namespace em_pni
