// Attributes of a device in sysfs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "devscan/file_tree.h"

namespace em_pni {

// All return an empty text or 0 when the attribute is missing.

std::string attributeText(const COpenFolder& folder, const std::string& path);

// A text from the device itself: its printable characters, and one blank for several.
std::string identityText(const COpenFolder& folder, const std::string& path);

// Also 0 when the text is no number.
std::uint32_t attributeNumber(const COpenFolder& folder, const std::string& path);

// `text` without blanks at both ends and with one blank for several.
std::string singleBlanks(std::string_view text);

}  // namespace em_pni
