#include "host/output/inventory_tree.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "em_pni/krcp_message.h"
#include "host/output/inventory_text.h"
#include "host/output/text_tree.h"
#include "platform/text.h"

namespace em_pni {

namespace {

using rapidjson::Value;

bool isDisabled(const Value& object) {
    const Value* const enabled = krcp::findMember(object, "Enabled");
    return enabled != nullptr && enabled->IsFalse();
}

std::string disabledText(const Value& object) {
    return isDisabled(object) ? "disabled" : "";
}

std::string moduleFacts(const Value& module) {
    const std::string firmware = textMember(module, "FirmwareVersion");
    return joinedFacts({textMember(module, "ModuleName"), textMember(module, "ModuleType"),
                        textMember(module, "TechnologyType"),
                        labelled("firmware", firmware == "N/A" ? "" : firmware),
                        disabledText(module)});
}

std::string portFacts(const Value& port) {
    return labelled("wake-on-LAN", textMember(port, "WolBehavior"));
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

std::string ipAddresses(const Value& function, const char* list) {
    std::vector<std::string> texts;
    const Value* const addresses = krcp::findMember(function, list);
    if (addresses != nullptr && addresses->IsArray()) {
        for (const Value& address : addresses->GetArray()) {
            texts.push_back(textMember(address, "Address"));
        }
    }
    return joinedFacts(texts);
}

std::string vlanText(const Value& function) {
    const auto vlan = numberMember(function, "VlanId").value_or(0);
    return vlan == 0 ? "" : "VLAN " + std::to_string(vlan);
}

std::string functionFacts(const Value& function) {
    return joinedFacts(
        {textMember(function, "TechnologyType"), labelled("MAC", addressText(function, "MAC")),
         labelled("WWPN", addressText(function, "WWPN")),
         labelled("GUID", addressText(function, "GUID")), ipAddresses(function, "Ipv4Addresses"),
         ipAddresses(function, "Ipv6Addresses"), speedText(function), vlanText(function),
         labelled("PCI", pciText(function)), disabledText(function)});
}

constexpr std::array factsOfLevel{moduleFacts, portFacts, functionFacts};

std::vector<TreeNode> nodesBelow(std::size_t depth, const Value& parent) {
    std::vector<TreeNode> nodes;
    if (depth == inventoryLevels.size()) {
        return nodes;
    }
    const InventoryLevel& level = inventoryLevels[depth];
    const Value* const list = krcp::findMember(parent, level.list);
    if (list == nullptr || !list->IsArray()) {
        return nodes;
    }
    for (const Value& object : list->GetArray()) {
        if (!object.IsObject()) {
            continue;
        }
        const Value* const id = krcp::findMember(object, level.id);
        const std::string facts = factsOfLevel[depth](object);
        nodes.push_back({level.label + (id != nullptr ? " " + valueText(*id) : std::string()),
                         facts.empty() ? facts : ": " + facts, nodesBelow(depth + 1, object),
                         isDisabled(object) ? Color::yellow : Color::cyan});
    }
    return nodes;
}

}  // namespace

std::string inventoryTree(std::string_view title, const Value& inventory,
                          const Terminal& terminal) {
    const std::vector<TreeNode> modules = nodesBelow(0, inventory);
    return printable(title) + ": " + std::to_string(modules.size()) +
           (modules.size() == 1 ? " module\n" : " modules\n") + treeText(modules, terminal);
}

}  // namespace em_pni
