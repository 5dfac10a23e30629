#include "host/output/change_json.h"

#include "platform/text.h"

namespace em_pni {

void writeMember(JsonWriter& writer, const char* key, std::string_view text) {
    if (!text.empty()) {
        const std::string valid = validUtf8(text);
        writer.Key(key);
        writer.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
    }
}

void writeChanges(JsonWriter& writer, const std::vector<InventoryChange>& changes) {
    writer.StartArray();
    for (const InventoryChange& change : changes) {
        writer.StartObject();
        writeMember(writer, "change", wordOf(change.kind));
        writeMember(writer, "module", change.module);
        writeMember(writer, "port", change.port);
        writeMember(writer, "function", change.function);
        writeMember(writer, "slot", change.slot);
        writeMember(writer, "interface", change.interface);
        writeMember(writer, "pci", change.pciAddress);
        writeMember(writer, "member", change.member);
        writeMember(writer, "name", change.title);
        writeMember(writer, "before", change.before);
        writeMember(writer, "after", change.after);
        writer.EndObject();
    }
    writer.EndArray();
}

}  // namespace em_pni
