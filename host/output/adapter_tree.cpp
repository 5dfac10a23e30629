#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "host/output/adapter_text.h"
#include "host/output/inventory_text.h"

namespace em_pni {

namespace {

constexpr std::size_t columns = 100;
constexpr std::size_t labelWidth = 12;

// The aligned lines under one adapter.
class CFactLines {
  public:
    explicit CFactLines(std::string indent) : indent_(std::move(indent)) {}

    // Nothing when the fact is empty.
    void Add(std::string label, const std::string& fact) {
        if (fact.empty()) {
            return;
        }
        label.resize(labelWidth, ' ');
        // The tree's lines are characters of several bytes, but all in the first column.
        constexpr std::size_t indentWidth = 5;
        for (const std::string& line :
             wrapWords(printable(validUtf8(fact)), columns - indentWidth - labelWidth)) {
            text_.append(indent_).append(label).append(line).append("\n");
            label.assign(labelWidth, ' ');
        }
    }
    [[nodiscard]] const std::string& Text() const noexcept { return text_; }

  private:
    std::string indent_;
    std::string text_;
};

// "name [8086:1521]", without what is not known.
std::string namedIds(const std::string& name, std::uint16_t vendor, std::uint16_t device) {
    if (vendor == 0 && device == 0) {
        return name;
    }
    std::string text = name;
    text.append(text.empty() ? "[" : " [").append(idText(vendor)).append(":");
    return text.append(idText(device)).append("]");
}

std::string classFact(const AdapterReport& adapter) {
    std::string text = adapter.className;
    text.append(text.empty() ? "[" : " [").append(idText(adapter.facts.classCode)).append("]");
    return adapter.infiniband ? text.append(", InfiniBand") : text;
}

std::string macFact(const AdapterFacts& facts) {
    if (!facts.activeMac || !facts.permanentMac || facts.activeMac == facts.permanentMac) {
        const auto& known = facts.activeMac ? facts.activeMac : facts.permanentMac;
        return known ? macText(*known) : std::string();
    }
    return macText(*facts.activeMac) + " (made as " + macText(*facts.permanentMac) + ")";
}

std::string wwnFact(const std::optional<WorldWideName>& name) {
    return name ? hexPairs(*name, ":") : std::string();
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += all.empty() ? text : ", " + text;
    }
    return all;
}

std::string slotText(std::uint32_t slot) {
    if (slot == unknownSlot) {
        return "slot not known";
    }
    return slot == 0 ? "onboard" : "slot " + std::to_string(slot);
}

std::string factLines(const AdapterReport& adapter, const std::string& indent) {
    const AdapterFacts& facts = adapter.facts;
    CFactLines lines(indent);
    lines.Add("device", namedIds(adapter.names.device, facts.ids.vendor, facts.ids.device));
    lines.Add("vendor", adapter.names.vendor);
    lines.Add("subsystem",
              namedIds(adapter.names.subVendor, facts.ids.subVendor, facts.ids.subDevice));
    lines.Add("class", classFact(adapter));
    lines.Add("driver", facts.driver);
    lines.Add("interfaces", joined(facts.interfaces));
    lines.Add("MAC", macFact(facts));
    lines.Add("WWNN", wwnFact(facts.nodeName));
    lines.Add("WWPN", wwnFact(facts.portName));
    lines.Add("firmware", facts.firmware);
    lines.Add("option ROM", facts.optionRom);
    return lines.Text();
}

}  // namespace

std::string adapterTree(const std::vector<AdapterReport>& adapters) {
    std::string tree = std::to_string(adapters.size()) +
                       (adapters.size() == 1 ? " adapter function\n" : " adapter functions\n");
    for (const AdapterReport& adapter : adapters) {
        const bool last = &adapter == &adapters.back();
        tree += (last ? "└─ " : "├─ ") + pciAddressText(adapter.facts.address) + " " +
                slotText(adapter.facts.slot) + "\n";
        tree += factLines(adapter, last ? "     " : "│    ");
    }
    return tree;
}

}  // namespace em_pni
