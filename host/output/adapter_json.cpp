#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

namespace {

class CMembers {
  public:
    explicit CMembers(rapidjson::PrettyWriter<rapidjson::StringBuffer>& writer) : writer_(writer) {}

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
    void Texts(const char* key, const std::vector<std::string>& texts) {
        writer_.Key(key);
        writer_.StartArray();
        for (const std::string& text : texts) {
            String(text);
        }
        writer_.EndArray();
    }

  private:
    bool String(const std::string& text) {
        const std::string valid = validUtf8(text);
        return writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
    }

    rapidjson::PrettyWriter<rapidjson::StringBuffer>& writer_;
};

// Empty for 0, which no vendor and no device has.
std::string knownIdText(std::uint16_t id) {
    return id == 0 ? std::string() : lowerHex(id, 4);
}

void writeIds(CMembers& members, const AdapterReport& adapter) {
    const PciIds& ids = adapter.facts.ids;
    members.Text("VendorId", knownIdText(ids.vendor));
    members.Text("Vendor", adapter.names.vendor);
    members.Text("DeviceId", knownIdText(ids.device));
    members.Text("Device", adapter.names.device);
    members.Text("SubVendorId", knownIdText(ids.subVendor));
    members.Text("SubVendor", adapter.names.subVendor);
    members.Text("SubDeviceId", knownIdText(ids.subDevice));
}

void writeAddresses(CMembers& members, const AdapterFacts& facts) {
    members.Text("PermanentMAC", macText(facts.permanentMac));
    members.Text("ActiveMAC", macText(facts.activeMac));
    members.Text("WWNN", knownNameText(facts.nodeName));
    members.Text("WWPN", knownNameText(facts.portName));
}

void writeDetails(CMembers& members, const AdapterDetails& details) {
    members.Text("PhysicalPort", details.physicalPort);
    members.Text("MasterInterface", details.master);
    members.Text("PartNumber", details.partNumber);
    members.Text("SerialNumber", details.serialNumber);
    members.Text("LinkSpeed", details.linkSpeed);
    members.Number("LinkWidth", details.linkWidth, 0);
}

}  // namespace

std::string adapterJson(const std::vector<AdapterReport>& adapters) {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    writer.SetIndent(' ', 2);
    CMembers members(writer);
    writer.StartArray();
    for (const AdapterReport& adapter : adapters) {
        const AdapterFacts& facts = adapter.facts;
        writer.StartObject();
        members.Text("PciAddress", pciAddressText(facts.address));
        members.Number("Slot", facts.slot, unknownSlot);
        members.Text("SlotDesignation", facts.slotDesignation);
        members.Text("SlotSource", nameOf(facts.slotSource));
        members.Text("ClassCode", lowerHex(facts.classCode, 4));
        members.Text("Class", adapter.className);
        members.Bool("InfiniBand", adapter.infiniband);
        writeIds(members, adapter);
        members.Text("Driver", facts.driver);
        members.Texts("Interfaces", facts.interfaces);
        writeAddresses(members, facts);
        members.Text("FirmwareVersion", facts.firmware);
        members.Text("OptionRomVersion", facts.optionRom);
        writeDetails(members, adapter.details);
        writer.EndObject();
    }
    writer.EndArray();
    return {text.GetString(), text.GetSize()};
}

}  // namespace em_pni
