#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "host/commands/card_cycles.h"
#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/machine/kernel_network.h"
#include "host/output/change_json.h"
#include "host/output/host_error.h"
#include "host/output/run_log.h"
#include "host/session/inventory_watch.h"
#include "host/session/machine_view.h"
#include "host/session/module_session.h"
#include "host/session/played_host.h"

namespace em_pni {

namespace {

class CDiffReport final : public CIFruListener {
  public:
    explicit CDiffReport(CConsole& console) : console_(console) {}
    void OnReadFailed(const std::string& reason) override { Fail(reason); }
    void OnWriteFailed(const std::string& reason) override { Fail(reason); }
    void OnNote(const std::string& text) override { console_.Error(text); }

    [[nodiscard]] bool Failed() const noexcept { return failed_; }

  private:
    void Fail(const std::string& reason) {
        failed_ = true;
        console_.Error(reason);
    }

    CConsole& console_;
    std::atomic<bool> failed_{false};
};

// An object with "changed" (whether a byte would change) and "changes".
std::string jsonOf(bool isChanged, const std::vector<InventoryChange>& changes) {
    rapidjson::StringBuffer text;
    JsonWriter writer(text);
    writer.StartObject();
    writer.Key("changed");
    writer.Bool(isChanged);
    writer.Key("changes");
    writeChanges(writer, changes);
    writer.EndObject();
    return text.GetString();
}

}  // namespace

int showDifference(const DiffOptions& options, CConsole& console) {
    const auto copy = copyOf(options.source, console);
    const std::vector<std::uint8_t> before = copy->Read();
    if (const auto fault = faultOf(CByteView(before))) {
        throw CHostError(copy->Name() + ": no valid record: " + *fault);
    }
    CDiffReport report(console);
    CFruController controller(*copy, report, CFruController::Access::readWrite);
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CPlayedHost host(&controller, network, console, cycleConfig(onlyAfterEvents),
                     console.TraceLevel());
    const CModuleLibrary library(options.module.empty() ? defaultModulePath() : options.module);
    CInventoryWatch watch(console);
    CModuleSession session(library, host);
    session.Start();
    watch.Look(session);
    CMachineView machine;
    if (options.cards) {
        CInventoryWatch cards(console);
        enterCards(session, machine, [&] {
            cards.Look(session);
            return cards.Inventory();
        });
    }
    session.SwitchStarted();
    session.Stop();
    std::vector<InventoryChange> changes = watch.Look(session);
    const bool hasInventory = watch.Inventory() != nullptr;
    const bool deleted = session.Delete();
    controller.Finish();
    if (!deleted || !hasInventory || report.Failed()) {
        return exitUnusable;
    }
    const bool isChanged = copy->Read() != before;
    machine.Refresh();
    machine.Complete(changes);
    if (options.json) {
        console.Document(jsonOf(isChanged, changes));
    } else if (isChanged && changes.empty()) {
        console.Line("changed: bytes that the inventory does not show");
    } else if (isChanged) {
        console.Text("it would change:\n" + changeLines(changes, console));
    } else {
        console.Line("it would change nothing");
    }
    return isChanged ? exitFailed : exitDone;
}

}  // namespace em_pni
