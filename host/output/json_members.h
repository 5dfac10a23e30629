// Writes JSON that is ASCII: other characters become \uXXXX, so no text controls the terminal.
// Texts may hold any bytes; those that are not UTF-8 become U+FFFD.
#pragma once

#include <cstdint>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <string>
#include <vector>

#include "platform/text.h"

namespace em_pni {

class CJsonMembers {
  public:
    using Writer =
        rapidjson::PrettyWriter<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

    explicit CJsonMembers(Writer& writer) : writer_(writer) {}

    // Empty = not known.
    void Text(const char* key, const std::string& text) {
        writer_.Key(key);
        text.empty() ? writer_.Null() : String(text);
    }
    void Bool(const char* key, bool value) {
        writer_.Key(key);
        writer_.Bool(value);
    }
    // Null for the number that stands for an unknown one.
    void Number(const char* key, std::uint32_t number, std::uint32_t unknown) {
        writer_.Key(key);
        number == unknown ? writer_.Null() : writer_.Uint(number);
    }
    void Number(const char* key, std::uint64_t number) {
        writer_.Key(key);
        writer_.Uint64(number);
    }
    void Integer(const char* key, int number) {
        writer_.Key(key);
        writer_.Int(number);
    }
    void Texts(const char* key, const std::vector<std::string>& texts) {
        writer_.Key(key);
        writer_.StartArray();
        for (const std::string& text : texts) {
            String(text);
        }
        writer_.EndArray();
    }
    void Null(const char* key) {
        writer_.Key(key);
        writer_.Null();
    }
    // `write` writes the members of an object.
    template <class Write>
    void Object(const char* key, Write write) {
        writer_.Key(key);
        Object(write);
    }
    // An array with an object for each of `range`.
    template <class Range, class Write>
    void Objects(const char* key, const Range& range, Write write) {
        writer_.Key(key);
        writer_.StartArray();
        for (const auto& one : range) {
            Object([&one, &write] { write(one); });
        }
        writer_.EndArray();
    }

  private:
    template <class Write>
    void Object(Write write) {
        writer_.StartObject();
        write();
        writer_.EndObject();
    }

    bool String(const std::string& text) {
        const std::string valid = validUtf8(text);
        return writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
    }

    Writer& writer_;
};

}  // namespace em_pni
