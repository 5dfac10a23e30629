// An inventory document as a tree for a terminal.
#pragma once

#include <rapidjson/document.h>
#include <string>
#include <string_view>

namespace em_pni {

// UTF-8 lines under `title`, one for each module, port and function with its main facts. What the
// document leaves out, or holds in another type, is simply not there.
std::string inventoryTree(std::string_view title, const rapidjson::Value& inventory);

}  // namespace em_pni
