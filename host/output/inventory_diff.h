// The differences between two inventory documents.
#pragma once

#include <rapidjson/document.h>
#include <string>
#include <string_view>
#include <vector>

namespace em_pni {

// One difference. Texts of the document are printable; empty = there is none.
struct InventoryChange {
    enum class Kind { changed, added, removed };

    Kind kind = Kind::changed;
    std::string module;  // ids of the objects that hold the difference
    std::string port;
    std::string function;
    std::string path;    // the same with words: "module 1 port 0 function 0"
    std::string member;  // empty = a whole object; with its parents: "Speed Unit"
    std::string title;   // name of a module that was added or removed
    std::string before;
    std::string after;
    std::string slot;  // "slot 5", "onboard": as the record says
    std::string pciAddress;
    std::string interface;  // filled by who knows the machine; may have any bytes
};

// "changed", "added" or "removed".
std::string_view wordOf(InventoryChange::Kind kind) noexcept;

// A line for people, without the word of its kind:
//     module 1 port 0 function 0 (slot 1, ens1f0, 0000:15:00.0) ActiveMAC: OLD -> NEW
//     module 0 port 1 function 0 (onboard, eno2, 0000:03:00.1) Ipv4Addresses 192.0.2.7
//     module 5 "Dual Port Adapter" (slot 5)
std::string textOf(const InventoryChange& change);

// The ids are those in the document, not positions: an inserted module is one difference. The
// second of two modules with the same id is "module 1 (2)"; a module without an id is "module
// [index]".
std::vector<InventoryChange> inventoryDifferences(const rapidjson::Value& before,
                                                  const rapidjson::Value& after);

}  // namespace em_pni
