// Follows the inventory of a module.
#pragma once

#include <memory>
#include <rapidjson/document.h>
#include <string>
#include <vector>

#include "em_pni/krcp_message.h"
#include "host/output/console.h"
#include "host/output/inventory_diff.h"
#include "host/session/module_session.h"

namespace em_pni {

// The answers may refer to texts in the module's library, which must outlive this.
class CInventoryWatch {
  public:
    explicit CInventoryWatch(CConsole& console) : console_(console) {}

    // Asks for the inventory. Returns the differences to the last valid one.
    std::vector<InventoryChange> Look(CModuleSession& session);

    // The inventory of the last answer; null when it had none.
    [[nodiscard]] const rapidjson::Value* Inventory() const noexcept;

  private:
    void Complain(const std::string& text);

    CConsole& console_;
    std::unique_ptr<CKrcpMessage> last_;  // has an inventory; null before the first one
    std::string complaint_;
    bool valid_ = false;  // the last answer had an inventory
};

}  // namespace em_pni
