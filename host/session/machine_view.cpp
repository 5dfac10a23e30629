#include "host/session/machine_view.h"

#include <algorithm>
#include <set>

#include "devscan/scan.h"
#include "em_pni/krcp_message.h"
#include "host/output/inventory_text.h"

namespace em_pni {

namespace {

using rapidjson::Value;

void collectAddresses(const Value& node, std::size_t depth, std::set<std::string>& addresses) {
    if (depth == inventoryLevels.size()) {
        addresses.insert(pciText(node));
        return;
    }
    const Value* const list = krcp::findMember(node, inventoryLevels[depth].list);
    if (list != nullptr && list->IsArray()) {
        for (const Value& below : list->GetArray()) {
            collectAddresses(below, depth + 1, addresses);
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

std::vector<std::string> CMachineView::NotEntered(const Value& inventory) const {
    std::set<std::string> entered;
    collectAddresses(inventory, 0, entered);
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
