#include "host/output/inventory_text.h"

#include <algorithm>
#include <cstddef>
#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "em_pni/krcp_message.h"

namespace em_pni {

namespace {

std::string_view viewOf(const rapidjson::Value& text) {
    return {text.GetString(), text.GetStringLength()};
}

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

}  // namespace

std::string validUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        result += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string printable(std::string_view text) {
    std::string result(text);
    for (std::size_t i = 0; i < result.size(); ++i) {
        const auto byte = static_cast<unsigned char>(result[i]);
        if (byte < 0x20 || byte == 0x7F) {
            result[i] = '?';
        } else if (byte == 0xC2 && i + 1 < result.size() &&
                   static_cast<unsigned char>(result[i + 1]) - 0x80U < 0x20U) {
            result.replace(i, 2, "?");  // U+0080 to U+009F are control characters, too
        }
    }
    return result;
}

std::string valueText(const rapidjson::Value& value) {
    if (value.IsString()) {
        return printable(viewOf(value));
    }
    if (const rapidjson::Value* const address = krcp::findMember(value, "Address");
        address != nullptr && address->IsString() && value.MemberCount() == 1) {
        return printable(viewOf(*address));
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    value.Accept(writer);
    return printable({text.GetString(), text.GetSize()});
}

std::string textMember(const rapidjson::Value& object, const char* key) {
    const rapidjson::Value* const member = krcp::findMember(object, key);
    return member != nullptr && member->IsString() ? printable(viewOf(*member)) : std::string();
}

std::string prettyJson(const rapidjson::Value& value) {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    writer.SetIndent(' ', 2);
    value.Accept(writer);
    return {text.GetString(), text.GetSize()};
}

}  // namespace em_pni
