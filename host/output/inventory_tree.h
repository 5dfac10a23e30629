// An inventory document as a tree for a terminal.
#pragma once

#include <rapidjson/document.h>
#include <string>
#include <string_view>

#include "host/output/terminal.h"

namespace em_pni {

// UTF-8 lines: the title, then one line for each module, port and function with its main facts. A
// member that is missing or of another type is left out.
std::string inventoryTree(std::string_view title, const rapidjson::Value& inventory,
                          const Terminal& terminal = {});

}  // namespace em_pni
