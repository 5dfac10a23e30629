// The text of a registry file. Each line holds one item and ends with a newline.
//
//     [HKEY_LOCAL_MACHINE]            a key. Its values follow, then the keys below it
//     Name=s=text                     text ("=es=": expandable text)
//     Count=d=-5                      32-bit integer, decimal
//     Bytes=b=00 ff                   binary, one blank behind each byte, also behind the last
//     [HKEY_LOCAL_MACHINE\SOFTWARE]   a key below, with its whole path
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/registry_node.h"

namespace em_pni {

constexpr std::size_t maxRegistryText = std::size_t{4} * 1024 * 1024;  // bytes

// The content of the file for the tree below `root`.
std::string formatRegistry(const CRegistryNode& root);

// The root of the tree that `text` describes. Returns null when a line has another form, a name or
// value breaks the rules of registry_node.h, a key or value occurs twice, a key comes before the
// key above it, a key is too deep, or there is no key. Takes time in proportion to the size of the
// text.
CRegistryNode::Pointer parseRegistry(std::string_view text);

}  // namespace em_pni
