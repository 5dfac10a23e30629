#include "platform/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace em_pni {
namespace {

char lowered(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Length in bytes of the UTF-8 character at the start of `text`. Returns 0 when there is no valid
// character: a stray continuation byte, a cut or overlong form, a surrogate, or above U+10FFFF.
std::size_t utf8Length(std::string_view text) noexcept {
    const auto byteAt = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    const std::uint8_t second = byteAt(1);
    const bool isValid = (lead != 0xE0 || second >= 0xA0) && (lead != 0xED || second < 0xA0) &&
                         (lead != 0xF0 || second >= 0x90) && (lead != 0xF4 || second < 0x90);
    return isValid ? length : 0;
}

}  // namespace

std::string_view trimBlanks(std::string_view text) noexcept {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool equalIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowered(a) == lowered(b); });
}

bool containsIgnoringCase(std::string_view text, std::string_view wanted) noexcept {
    for (; text.size() >= wanted.size(); text.remove_prefix(1)) {
        if (equalIgnoringCase(text.substr(0, wanted.size()), wanted)) {
            return true;
        }
    }
    return false;
}

std::string_view takeUntil(std::string_view& rest, char separator) noexcept {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::string printableText(std::string_view raw) {
    const auto end =
        std::find_if(raw.begin(), raw.end(), [](char c) { return c < ' ' || c > '~'; });
    return std::string(
        trimBlanks(raw.substr(0, static_cast<std::size_t>(std::distance(raw.begin(), end)))));
}

std::string printable(std::string_view text) {
    std::string result = validUtf8(text);
    for (std::size_t i = 0; i < result.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(result[i]);
        if (byte < 0x20 || byte == 0x7F) {
            result[i] = '?';
        } else if (byte == 0xC2 && static_cast<std::uint8_t>(result[i + 1]) - 0x80U < 0x20U) {
            result.replace(i, 2, "?");
        }
    }
    return result;
}

std::string validUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        result += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

}  // namespace em_pni
