#include "host/session/machine_view.h"

#include <algorithm>
#include <set>

#include "devscan/scan.h"
#include "em_pni/krcp_message.h"
#include "frudata/address_text.h"
#include "host/output/adapter_report.h"
#include "host/output/inventory_text.h"

namespace em_pni {

namespace {

using rapidjson::Value;

// Calls `visit(module, function)` for each function of the inventory.
template <class Visit>
void forEachFunction(const Value& node, std::size_t depth, const Value& module, Visit& visit) {
    if (depth == inventoryLevels.size()) {
        visit(module, node);
        return;
    }
    const Value* const list = krcp::findMember(node, inventoryLevels[depth].list);
    if (list != nullptr && list->IsArray()) {
        for (const Value& below : list->GetArray()) {
            forEachFunction(below, depth + 1, depth == 0 ? below : module, visit);
        }
    }
}

std::string slotText(const AdapterFacts& facts) {
    if (facts.slot == unknownSlot) {
        return "";
    }
    return facts.slot == 0 ? "onboard" : "slot " + std::to_string(facts.slot);
}

std::string reasonOf(const CSystemAdapter& adapter) {
    const AdapterFacts& facts = adapter.Facts();
    if (adapter.IsInfinibandAdapter()) {
        return "it is InfiniBand, another technology";
    }
    if (facts.driver.empty()) {
        return "it has no driver";
    }
    if (facts.activeMac.IsEmpty() && facts.permanentMac.IsEmpty() && facts.portName == 0) {
        return "its address is not known";
    }
    if (facts.slot == unknownSlot) {
        return "its slot is not known";
    }
    if (facts.slot == 0) {
        return "it is onboard; only cards in slots are added";
    }
    return "the module does not take it, or no device event came yet";
}

}  // namespace

void CMachineView::Refresh() {
    adapters_ = ScanSystemAdapters(machine_).value_or(std::vector<CSystemAdapter>());
}

void CMachineView::Complete(std::vector<InventoryChange>& changes) const {
    for (InventoryChange& change : changes) {
        const auto found = std::find_if(
            adapters_.begin(), adapters_.end(), [&change](const CSystemAdapter& adapter) {
                return pciAddressText(adapter.Address()) == change.pciAddress;
            });
        if (found == adapters_.end()) {
            continue;
        }
        const AdapterFacts& facts = found->Facts();
        if (!facts.interfaces.empty()) {
            change.interface = facts.interfaces.front();
        }
        if (const std::string slot = slotText(facts); !slot.empty()) {
            change.slot = slot;
        }
    }
}

bool CMachineView::HasOtherCards(const Value& inventory) const {
    std::set<std::string> entered;
    auto collect = [&entered](const Value& module, const Value& function) {
        if (textMember(module, "ModuleType") == "PCI-AddIn") {
            entered.insert(textMember(function, "ActiveMAC") + textMember(function, "ActiveWWPN"));
        }
    };
    forEachFunction(inventory, 0, inventory, collect);
    std::set<std::string> there;
    for (const CSystemAdapter& adapter : adapters_) {
        const AdapterFacts& facts = adapter.Facts();
        const std::string address = macText(facts.activeMac) + knownNameText(facts.portName);
        if (facts.slot != 0 && facts.slot != unknownSlot && !address.empty()) {
            there.insert(address);
        }
    }
    return entered != there;
}

std::vector<std::string> CMachineView::NotEntered(const Value& inventory) const {
    std::set<std::string> entered;
    auto collect = [&entered](const Value& /*module*/, const Value& function) {
        entered.insert(pciText(function));
    };
    forEachFunction(inventory, 0, inventory, collect);
    std::vector<std::string> lines;
    for (const CSystemAdapter& adapter : adapters_) {
        const std::string address = pciAddressText(adapter.Address());
        if (entered.contains(address)) {
            continue;
        }
        const auto& interfaces = adapter.Facts().interfaces;
        lines.push_back(address + (interfaces.empty() ? "" : " (" + interfaces.front() + ")") +
                        ": " + reasonOf(adapter));
    }
    return lines;
}

}  // namespace em_pni
