// Follows the inventory of a module and prints what changes.
#pragma once

#include <memory>
#include <string>

#include "em_pni/krcp_message.h"
#include "host/output/console.h"
#include "host/session/module_session.h"

namespace em_pni {

// The answers may refer to texts in the module's library, which must outlive this.
class CInventoryWatch {
  public:
    explicit CInventoryWatch(CConsole& console) : console_(console) {}

    // Asks for the inventory. Prints a line for each difference to the last valid one.
    void Look(CModuleSession& session);

    // Whether the last answer had an inventory.
    [[nodiscard]] bool Valid() const noexcept { return valid_; }
    // Whether a difference was printed.
    [[nodiscard]] bool Changed() const noexcept { return changed_; }

  private:
    void Complain(const std::string& text);

    CConsole& console_;
    std::unique_ptr<CKrcpMessage> last_;  // has an inventory; null before the first one
    std::string complaint_;
    bool valid_ = false;
    bool changed_ = false;
};

}  // namespace em_pni
