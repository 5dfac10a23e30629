#include "module/krcp_trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "platform/trace.h"

namespace em_pni::krcp {
namespace {

constexpr unsigned maxNesting = 64;  // levels

bool isNestedWithin(const rapidjson::Value& value, unsigned levels) noexcept {
    if (value.IsArray()) {
        return levels > 0 &&
               std::all_of(value.Begin(), value.End(), [levels](const rapidjson::Value& element) {
                   return isNestedWithin(element, levels - 1);
               });
    }
    if (value.IsObject()) {
        return levels > 0 &&
               std::all_of(value.MemberBegin(), value.MemberEnd(), [levels](const auto& member) {
                   return isNestedWithin(member.value, levels - 1);
               });
    }
    return true;
}

// The end of the line. It depends on the type of "DA".
std::string dataText(const rapidjson::Value* data) {
    if (data == nullptr) {
        return {};
    }
    if (data->IsNumber()) {
        return " Data " + jsonText(*data);
    }
    if (data->IsObject()) {
        return " Data (JSON struct):\n" + jsonText(*data);
    }
    if (data->IsArray()) {
        return " Len " + std::to_string(data->Size());
    }
    return {};
}

}  // namespace

std::string jsonText(const rapidjson::Value& value) {
    if (!isNestedWithin(value, maxNesting)) {
        return {};
    }
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

void traceMessage(int level, const char* moduleName, const char* tag,
                  const CKrcpMessage& message) noexcept try {
    if (!trace::isOn(level)) {
        return;
    }
    const auto field = [&message](const char* key) {
        return static_cast<std::uint32_t>(GetValue(message, message.index, key, 0));
    };
    std::array<char, 24> cabinet{};
    const rapidjson::Value* const command = findCommand(message, message.index);
    if (command != nullptr && findMember(*command, "CA") != nullptr) {
        std::snprintf(cabinet.data(), cabinet.size(), "CABID %04d ",
                      static_cast<std::int32_t>(field("CA")));
    }
    const std::uint32_t id = field("MI");
    PNI_TRACE(level, "\n%-20s: OC 0x%04X-0x%04X OID 0x%04X %sMID 0x%04X%04X Stat 0x%02X%s",
              (std::string(moduleName) + tag).c_str(), field("OC") & 0xFFFFU, field("OE") & 0xFFFFU,
              field("OI"), cabinet.data(), id >> 16, id & 0xFFFFU, status(message),
              dataText(findData(message)).c_str());
} catch (const std::exception&) {
    // No memory: the line is lost, the traced operation continues.
}

}  // namespace em_pni::krcp
