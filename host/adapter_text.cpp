#include "host/adapter_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "frudata/address_text.h"

namespace em_pni {
namespace {

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

}  // namespace

std::string idText(std::uint16_t id) {
    std::array<char, 8> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%04x", unsigned{id}));
    return text.data();
}

std::string knownIdText(std::uint16_t id) {
    return id == 0 ? std::string() : idText(id);
}

std::string knownNameText(WorldWideName name) {
    return name == 0 ? std::string() : worldwideNameText(name);
}

std::vector<std::string> wrapWords(std::string_view text, std::size_t width) {
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (word.empty()) {
            continue;
        }
        std::string& line = lines.back();
        if (line.empty()) {
            line = word;
        } else if (characterCount(line) + 1 + characterCount(word) <= width) {
            line.append(" ").append(word);
        } else {
            lines.emplace_back(word);
        }
    }
    return lines;
}

}  // namespace em_pni
