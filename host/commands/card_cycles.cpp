#include "host/commands/card_cycles.h"

#include "host/events/host_event.h"

namespace em_pni {

namespace {

// Stop waits for the first cycle after SwitchStarted.
void runCycle(CModuleSession& session) {
    session.SwitchStarted();
    session.Stop();
}

void runCycleWith(CModuleSession& session, HostEvent event) {
    session.Report(*messageOf(event));
    runCycle(session);
}

}  // namespace

void enterCards(CModuleSession& session, CMachineView& machine, const InventoryQuestion& ask) {
    const auto isDifferent = [&] {
        const rapidjson::Value* const inventory = ask();
        machine.Refresh();
        return inventory != nullptr && machine.HasOtherCards(*inventory);
    };
    if (!isDifferent()) {
        return;
    }
    runCycle(session);
    if (isDifferent()) {
        runCycleWith(session, HostEvent::deviceRemoved);
        runCycleWith(session, HostEvent::deviceAdded);
    }
}

}  // namespace em_pni
