#include "storage/attributes.h"

#include <limits>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

std::string attributeText(const COpenFolder& folder, const std::string& path) {
    return folder.ReadAttribute(path).value_or("");
}

std::string identityText(const COpenFolder& folder, const std::string& path) {
    return singleBlanks(printableText(attributeText(folder, path)));
}

std::uint32_t attributeNumber(const COpenFolder& folder, const std::string& path) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(parseDecimal(attributeText(folder, path), max).value_or(0));
}

std::string singleBlanks(std::string_view text) {
    std::string result;
    for (const char c : trimBlanks(text)) {
        if (c != ' ' || result.back() != ' ') {
            result += c;
        }
    }
    return result;
}

}  // namespace em_pni
