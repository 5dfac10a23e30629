#include "host/output/inventory_text.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "em_pni/krcp_message.h"
#include "platform/text.h"

namespace em_pni {

namespace {

std::string_view viewOf(const rapidjson::Value& text) {
    return {text.GetString(), text.GetStringLength()};
}

}  // namespace

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
