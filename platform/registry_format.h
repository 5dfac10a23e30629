// The text of a registry file, one item per line, every line ended by a newline:
//
//     [HKEY_LOCAL_MACHINE]            a key, followed by its values and then by the keys below it
//     Name=s=text                     text; "=es=" expandable text
//     Count=d=-5                      integer
//     Bytes=b=00 ff                   binary, one blank behind each byte, also behind the last
//     [HKEY_LOCAL_MACHINE\SOFTWARE]   a key below: the whole path, behind the one that holds it
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/registry_node.h"

namespace em_pni {

constexpr std::size_t maxRegistryText = std::size_t{4} * 1024 * 1024;  // bytes

// The whole file for the tree below `root`.
std::string formatRegistry(const CRegistryNode& root);

// The root of the tree that `text` describes; null when any part of it is not as above, a name or a
// text breaks the rules of registry_node.h, a key or a value stands twice, a key stands before the
// one that holds it or too deep, or there is no key at all. Takes time in proportion to the text.
CRegistryNode::Pointer parseRegistry(std::string_view text);

}  // namespace em_pni
