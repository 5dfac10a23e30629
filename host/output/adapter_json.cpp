#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "host/output/json_members.h"
#include "host/output/pci_facts.h"
#include "platform/number.h"

namespace em_pni {

namespace {

void writeAddresses(CJsonMembers& members, const AdapterFacts& facts) {
    members.Text("PermanentMAC", macText(facts.permanentMac));
    members.Text("ActiveMAC", macText(facts.activeMac));
    members.Text("WWNN", knownNameText(facts.nodeName));
    members.Text("WWPN", knownNameText(facts.portName));
}

void writeDetails(CJsonMembers& members, const AdapterDetails& details) {
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
    CJsonMembers::Writer writer(text);
    writer.SetIndent(' ', 2);
    CJsonMembers members(writer);
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
        writePciIds(members, facts.ids, adapter.names);
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
