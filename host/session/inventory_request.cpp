#include "host/session/inventory_request.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace em_pni {

namespace {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText(JsonWriter& writer, const std::string& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

// The filters stand inside an object "Filter": a single member at the top would be taken for that
// object.
std::string filterText(const InventoryFilter& filter) {
    rapidjson::StringBuffer text;
    JsonWriter writer(text);
    writer.StartObject();
    writer.Key("Filter");
    writer.StartObject();
    if (!filter.technology.empty()) {
        writer.Key("ModuleFilter");
        writer.StartObject();
        writer.Key("TechnologyType");
        writeText(writer, filter.technology);
        writer.EndObject();
    }
    if (!filter.fields.empty()) {
        writer.Key("ResultFilter");
        writer.StartArray();
        for (const std::string& field : filter.fields) {
            writeText(writer, field);
        }
        writer.EndArray();
    }
    writer.EndObject();
    writer.EndObject();
    return {text.GetString(), text.GetSize()};
}

}  // namespace

CKrcpMessage makeInventoryRequest(const InventoryFilter& filter) {
    CKrcpMessage message = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    if (!filter.technology.empty() || !filter.fields.empty()) {
        const std::string text = filterText(filter);
        krcp::setMember(message, "DA",
                        rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()),
                                         message.document.GetAllocator()));
    }
    return message;
}

const rapidjson::Value* findInventory(const CKrcpMessage& answer) noexcept {
    return krcp::status(answer) == krcp::SUCCESS ? krcp::findData(answer) : nullptr;
}

std::string answerText(const CKrcpMessage& answer) {
    const std::uint32_t status = krcp::status(answer);
    return std::string(krcp::statusName(status)) + " [" + std::to_string(status) + "]";
}

}  // namespace em_pni
