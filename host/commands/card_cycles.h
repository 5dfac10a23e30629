// Cycles of the module that enter the cards which changed while the power was off.
#pragma once

#include <functional>
#include <rapidjson/document.h>

#include "host/session/machine_view.h"
#include "host/session/module_session.h"

namespace em_pni {

// Asks the module for the inventory; null = there is none.
using InventoryQuestion = std::function<const rapidjson::Value*()>;

// Does nothing when the machine has the cards of the inventory. Else runs up to three cycles and
// leaves the module stopped. The first one corrects a card that was exchanged for one of its kind.
// Cards that are gone leave in a cycle of their own: new cards then get the ids of their slots.
void enterCards(CModuleSession& session, CMachineView& machine, const InventoryQuestion& ask);

}  // namespace em_pni
