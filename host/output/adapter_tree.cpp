#include <utility>

#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "host/output/pci_facts.h"
#include "host/output/text_tree.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

namespace {

// "name [8086:1521]"; leaves out what is not known.
std::string namedIds(const std::string& name, std::uint16_t vendor, std::uint16_t device) {
    if (vendor == 0 && device == 0) {
        return name;
    }
    std::string text = name;
    text.append(text.empty() ? "[" : " [").append(lowerHex(vendor, 4)).append(":");
    return text.append(lowerHex(device, 4)).append("]");
}

std::string classFact(const AdapterReport& adapter) {
    std::string text = adapter.className;
    text.append(text.empty() ? "[" : " [").append(lowerHex(adapter.facts.classCode, 4)).append("]");
    return adapter.infiniband ? text.append(", InfiniBand") : text;
}

std::string macFact(const AdapterFacts& facts) {
    if (facts.activeMac.IsEmpty() || facts.permanentMac.IsEmpty() ||
        facts.activeMac == facts.permanentMac) {
        return macText(facts.activeMac.IsEmpty() ? facts.permanentMac : facts.activeMac);
    }
    return macText(facts.activeMac) + " (permanent " + macText(facts.permanentMac) + ")";
}

// The lines below an adapter, in two aligned columns. Leaves out an empty fact.
std::string factLines(const AdapterReport& adapter, const std::string& indent) {
    constexpr std::size_t labelWidth = 12;
    const AdapterFacts& facts = adapter.facts;
    const std::vector<std::pair<std::string, std::string>> known{
        {"device", namedIds(adapter.names.device, facts.ids.vendor, facts.ids.device)},
        {"vendor", adapter.names.vendor},
        {"subsystem", namedIds(adapter.names.subVendor, facts.ids.subVendor, facts.ids.subDevice)},
        {"class", classFact(adapter)},
        {"driver", facts.driver},
        {"interfaces", joinedFacts(facts.interfaces)},
        {"MAC", macFact(facts)},
        {"WWNN", knownNameText(facts.nodeName)},
        {"WWPN", knownNameText(facts.portName)},
        {"firmware", facts.firmware},
        {"option ROM", facts.optionRom}};
    std::string lines;
    for (auto [label, fact] : known) {
        if (!fact.empty()) {
            label.resize(labelWidth, ' ');
            lines.append(indent).append(label).append(printable(fact)).append("\n");
        }
    }
    return lines;
}

}  // namespace

std::string adapterTree(const std::vector<AdapterReport>& adapters, const Terminal& terminal) {
    std::string tree = std::to_string(adapters.size()) +
                       (adapters.size() == 1 ? " adapter function\n" : " adapter functions\n");
    for (const AdapterReport& adapter : adapters) {
        const bool last = &adapter == &adapters.back();
        const std::string name =
            pciAddressText(adapter.facts.address) + " " + slotText(adapter.facts.slot);
        const bool hasSlot = adapter.facts.slot != unknownSlot;
        tree += (last ? "└─ " : "├─ ") +
                painted(name, hasSlot ? Color::cyan : Color::yellow, terminal) + "\n";
        tree += factLines(adapter, last ? "     " : "│    ");
    }
    return tree;
}

}  // namespace em_pni
