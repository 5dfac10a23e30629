#include <algorithm>

#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "host/output/pci_facts.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

namespace {

constexpr std::size_t columns = 100;
constexpr std::size_t labelWidth = 12;

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// Breaks `text` at blanks into lines of at most `width` characters. A longer word has a line of its
// own. Returns at least one line.
std::vector<std::string> wrapWords(std::string_view text, std::size_t width) {
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (word.empty()) {
            continue;
        }
        std::string& line = lines.back();
        if (line.empty()) {
            line = word;
        } else if (characterCount(line) + 1 + characterCount(word) <= width) {
            line.append(" ").append(word);
        } else {
            lines.emplace_back(word);
        }
    }
    return lines;
}

// The lines below one adapter, in two aligned columns.
class CFactLines {
  public:
    explicit CFactLines(std::string indent) : indent_(std::move(indent)) {}

    // Leaves out an empty fact.
    void Add(std::string label, const std::string& fact) {
        if (fact.empty()) {
            return;
        }
        label.resize(labelWidth, ' ');
        constexpr std::size_t indentWidth = 5;  // in columns; the line characters have more bytes
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

std::string factLines(const AdapterReport& adapter, const std::string& indent) {
    const AdapterFacts& facts = adapter.facts;
    CFactLines lines(indent);
    lines.Add("device", namedIds(adapter.names.device, facts.ids.vendor, facts.ids.device));
    lines.Add("vendor", adapter.names.vendor);
    lines.Add("subsystem",
              namedIds(adapter.names.subVendor, facts.ids.subVendor, facts.ids.subDevice));
    lines.Add("class", classFact(adapter));
    lines.Add("driver", facts.driver);
    lines.Add("interfaces", joinedFacts(facts.interfaces));
    lines.Add("MAC", macFact(facts));
    lines.Add("WWNN", knownNameText(facts.nodeName));
    lines.Add("WWPN", knownNameText(facts.portName));
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
