#include "host/output/adapter_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>

namespace em_pni {

namespace {

struct NoOutput {
    using Ch = char;
    void Put(char /*character*/) const noexcept {}
};

// Bytes of the character that `text` begins with, 0 when it begins with none.
std::size_t characterLength(std::string_view text) {
    rapidjson::MemoryStream input(text.data(), text.size());
    NoOutput output;
    const bool valid = rapidjson::UTF8<>::Validate(input, output);
    return valid && input.Tell() <= text.size() ? input.Tell() : 0;
}

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

std::string validUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        result += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
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
