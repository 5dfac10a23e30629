#include "host/output/inventory_tree.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "em_pni/krcp_message.h"
#include "host/output/inventory_text.h"
#include "platform/text.h"

namespace em_pni {

namespace {

using rapidjson::Value;

// The facts of one line. Leaves out a fact that is empty, and a labelled fact that is "N/A".
class CFacts {
  public:
    void Add(const std::string& fact) {
        if (!fact.empty()) {
            text_ += text_.empty() ? fact : ", " + fact;
        }
    }
    void Add(const std::string& label, const std::string& fact) {
        if (!fact.empty() && fact != "N/A") {
            Add(label + " " + fact);
        }
    }
    [[nodiscard]] const std::string& Text() const noexcept { return text_; }

  private:
    std::string text_;
};

// Only a disabled object is worth a word.
std::string disabledText(const Value& object) {
    const Value* const enabled = krcp::findMember(object, "Enabled");
    return enabled != nullptr && enabled->IsFalse() ? "disabled" : "";
}

std::string moduleFacts(const Value& module) {
    CFacts facts;
    facts.Add(textMember(module, "ModuleName"));
    facts.Add(textMember(module, "ModuleType"));
    facts.Add(textMember(module, "TechnologyType"));
    facts.Add("firmware", textMember(module, "FirmwareVersion"));
    facts.Add(disabledText(module));
    return facts.Text();
}

std::string portFacts(const Value& port) {
    CFacts facts;
    facts.Add("wake-on-LAN", textMember(port, "WolBehavior"));
    return facts.Text();
}

std::string speedText(const Value& function) {
    const auto speed = numberMember(function, "Speed");
    const std::string unit = textMember(function, "SpeedUnit");
    if (!speed || *speed == 0) {
        return "";
    }
    // A speed of 4 with the unit "10Gb/s" is 40 Gb/s.
    return unit == "10Gb/s" ? std::to_string(*speed) + "0 Gb/s"
                            : std::to_string(*speed) + " " + unit;
}

// Empty for an address of zeros, which means that there is no address.
std::string addressMember(const Value& function, const std::string& key) {
    const std::string text = textMember(function, key.c_str());
    return text.find_first_not_of("0-:") == std::string::npos ? std::string() : text;
}

// The active address, and the manufacture address when it differs.
std::string addressText(const Value& function, const std::string& kind) {
    const std::string active = addressMember(function, "Active" + kind);
    const std::string manufacture = addressMember(function, "Manufacture" + kind);
    if (active.empty() || manufacture.empty() || active == manufacture) {
        return active.empty() ? manufacture : active;
    }
    return active + " (manufacture " + manufacture + ")";
}

void addIpAddresses(CFacts& facts, const Value& function, const char* list) {
    const Value* const addresses = krcp::findMember(function, list);
    if (addresses != nullptr && addresses->IsArray()) {
        for (const Value& address : addresses->GetArray()) {
            facts.Add(textMember(address, "Address"));
        }
    }
}

std::string functionFacts(const Value& function) {
    CFacts facts;
    facts.Add(textMember(function, "TechnologyType"));
    for (const char* const kind : {"MAC", "WWPN", "GUID"}) {
        facts.Add(kind, addressText(function, kind));
    }
    addIpAddresses(facts, function, "Ipv4Addresses");
    addIpAddresses(facts, function, "Ipv6Addresses");
    facts.Add(speedText(function));
    if (const auto vlan = numberMember(function, "VlanId"); vlan.value_or(0) != 0) {
        facts.Add("VLAN", std::to_string(*vlan));
    }
    facts.Add("PCI", pciText(function));
    facts.Add(disabledText(function));
    return facts.Text();
}

constexpr std::array factsOfLevel{moduleFacts, portFacts, functionFacts};

std::string nodeText(std::size_t depth, const Value& node) {
    const InventoryLevel& level = inventoryLevels[depth];
    const Value* const id = krcp::findMember(node, level.id);
    const std::string facts = factsOfLevel[depth](node);
    std::string text = level.label;
    if (id != nullptr) {
        text.append(" ").append(valueText(*id));
    }
    return facts.empty() ? text : text.append(": ").append(facts);
}

std::vector<const Value*> nodesBelow(std::size_t depth, const Value& parent) {
    std::vector<const Value*> nodes;
    const Value* const list = krcp::findMember(parent, inventoryLevels[depth].list);
    if (list != nullptr && list->IsArray()) {
        for (const Value& node : list->GetArray()) {
            if (node.IsObject()) {
                nodes.push_back(&node);
            }
        }
    }
    return nodes;
}

void appendNodes(std::string& tree, std::size_t depth, const Value& parent,
                 const std::string& indent) {
    if (depth == inventoryLevels.size()) {
        return;
    }
    const std::vector<const Value*> nodes = nodesBelow(depth, parent);
    for (const Value* const node : nodes) {
        const bool last = node == nodes.back();
        tree += indent + (last ? "└─ " : "├─ ") + nodeText(depth, *node) + "\n";
        appendNodes(tree, depth + 1, *node, indent + (last ? "   " : "│  "));
    }
}

}  // namespace

std::string inventoryTree(std::string_view title, const Value& inventory) {
    const std::size_t modules = nodesBelow(0, inventory).size();
    std::string tree = printable(title) + ": " + std::to_string(modules) +
                       (modules == 1 ? " module\n" : " modules\n");
    appendNodes(tree, 0, inventory, "");
    return tree;
}

}  // namespace em_pni
