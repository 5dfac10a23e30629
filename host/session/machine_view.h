// The cards of this machine beside the inventory: where they are, and why some are not in it.
#pragma once

#include <rapidjson/document.h>
#include <string>
#include <vector>

#include "devscan/machine.h"
#include "devscan/system_adapter.h"
#include "host/output/inventory_diff.h"

namespace em_pni {

class CMachineView {
  public:
    // Reads the adapters again. The functions below show the state of the last reading.
    void Refresh();

    // Adds the interface names, and the slots that the machine knows.
    void Complete(std::vector<InventoryChange>& changes) const;

    // Whether the cards in slots have other addresses than the add-in modules of the inventory.
    [[nodiscard]] bool HasOtherCards(const rapidjson::Value& inventory) const;

    // A line for each adapter that the inventory does not have:
    // "0000:05:00.0 (ens5): its slot is not known".
    [[nodiscard]] std::vector<std::string> NotEntered(const rapidjson::Value& inventory) const;

  private:
    CMachine machine_;
    std::vector<CSystemAdapter> adapters_;
};

}  // namespace em_pni
