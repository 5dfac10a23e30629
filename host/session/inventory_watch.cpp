#include "host/session/inventory_watch.h"

#include <utility>

#include "host/output/inventory_diff.h"
#include "host/session/inventory_request.h"

namespace em_pni {

void CInventoryWatch::Look(CModuleSession& session) {
    auto now = std::make_unique<CKrcpMessage>(makeInventoryRequest({}));
    session.Request(*now);
    const rapidjson::Value* const inventory = findInventory(*now);
    valid_ = inventory != nullptr;
    if (!valid_) {
        Complain("the module has no inventory: " + answerText(*now));
        return;
    }
    complaint_.clear();
    if (last_ != nullptr) {
        for (const std::string& line : inventoryDifferences(*findInventory(*last_), *inventory)) {
            console_.Line(line);
            changed_ = true;
        }
    }
    last_ = std::move(now);
}

// Prints a repeated error only once.
void CInventoryWatch::Complain(const std::string& text) {
    if (text != complaint_) {
        console_.Error(text);
        complaint_ = text;
    }
}

}  // namespace em_pni
