// The differences between two inventory documents.
#pragma once

#include <rapidjson/document.h>
#include <string>
#include <vector>

namespace em_pni {

// One line for each difference; no line when the documents are equal:
//     changed: module 1 port 0 function 0 ActiveMAC: 00-11-22-33-44-55 -> 00-11-22-33-44-66
//     added: module 0 port 1 function 0 Ipv4Addresses 192.0.2.7
//     removed: module 5 "Dual Port Adapter"
// The numbers are the ids in the document, not positions: an inserted module is one line. The
// second of two modules with the same id is "module 1 (2)"; a module without an id is "module
// [index]".
std::vector<std::string> inventoryDifferences(const rapidjson::Value& before,
                                              const rapidjson::Value& after);

}  // namespace em_pni
