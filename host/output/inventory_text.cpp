#include "host/output/inventory_text.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "em_pni/krcp_message.h"
#include "platform/pci_address.h"
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

std::optional<std::uint64_t> numberMember(const rapidjson::Value& object, const char* key) {
    const rapidjson::Value* const member = krcp::findMember(object, key);
    return member != nullptr && member->IsUint64() ? std::optional(member->GetUint64())
                                                   : std::nullopt;
}

std::string pciText(const rapidjson::Value& function) {
    const auto segment = numberMember(function, "PciSegment");
    const auto bus = numberMember(function, "PciBus");
    const auto device = numberMember(function, "PciDevice");
    const auto number = numberMember(function, "PciFunction");
    if (!bus || !device || !number || *bus > 0xFF || *device > 0x1F || *number > 7 ||
        segment.value_or(0) > 0xFFFF) {
        return "";
    }
    const PciAddress address{static_cast<std::uint16_t>(segment.value_or(0)),
                             static_cast<std::uint8_t>(*bus), static_cast<std::uint8_t>(*device),
                             static_cast<std::uint8_t>(*number)};
    return address.Packed() == 0 ? "" : pciAddressText(address);
}

std::string slotText(const rapidjson::Value& module) {
    const std::string type = textMember(module, "ModuleType");
    const auto id = numberMember(module, "ModuleId");
    if (type == "PCI-AddIn" && id) {
        return "slot " + std::to_string(*id);
    }
    return type == "Onboard" ? "onboard" : type == "Mezzanine" ? "mezzanine" : "";
}

std::string prettyJson(const rapidjson::Value& value) {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    writer.SetIndent(' ', 2);
    value.Accept(writer);
    return {text.GetString(), text.GetSize()};
}

}  // namespace em_pni
