#include "host/session/inventory_watch.h"

#include <utility>

#include "host/session/inventory_request.h"

namespace em_pni {

std::vector<InventoryChange> CInventoryWatch::Look(CModuleSession& session) {
    auto now = std::make_unique<CKrcpMessage>(makeInventoryRequest({}));
    session.Request(*now);
    const rapidjson::Value* const inventory = findInventory(*now);
    valid_ = inventory != nullptr;
    if (!valid_) {
        Complain("the module has no inventory: " + answerText(*now));
        return {};
    }
    complaint_.clear();
    std::vector<InventoryChange> changes;
    if (last_ != nullptr) {
        changes = inventoryDifferences(*findInventory(*last_), *inventory);
    }
    last_ = std::move(now);
    return changes;
}

const rapidjson::Value* CInventoryWatch::Inventory() const noexcept {
    return valid_ ? findInventory(*last_) : nullptr;
}

// Prints a repeated error only once.
void CInventoryWatch::Complain(const std::string& text) {
    if (text != complaint_) {
        console_.Error(text);
        complaint_ = text;
    }
}

}  // namespace em_pni
