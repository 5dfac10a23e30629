#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/machine/kernel_network.h"
#include "host/output/inventory_text.h"
#include "host/output/inventory_tree.h"
#include "host/session/module_session.h"
#include "host/session/played_host.h"

namespace em_pni {

namespace {

class CQueryReport final : public CIFruListener {
  public:
    explicit CQueryReport(CConsole& console) : console_(console) {}
    void OnReadFailed(const std::string& reason) override { console_.Error(reason); }
    void OnWriteFailed(const std::string& reason) override { console_.Error(reason); }
    void OnNote(const std::string& text) override { console_.Error(text); }

  private:
    CConsole& console_;
};

}  // namespace

int queryFile(const QueryOptions& options, CConsole& console) {
    const auto fru = copyOf(options.source, console);
    CQueryReport report(console);
    CFruController controller(*fru, report, CFruController::Access::readOnly);
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CPlayedHost host(&controller, network, console, "", console.TraceLevel());
    const CModuleLibrary library(options.module.empty() ? defaultModulePath() : options.module);
    CModuleSession session(library, host);
    session.Start();
    session.SwitchStarted();
    CKrcpMessage request = makeInventoryRequest(options.filter);
    session.Request(request);
    session.Stop();
    const bool deleted = session.Delete();
    if (!deleted) {
        console.Error(library.Path() + ": the module reports a failure at its end");
    }
    // The document may refer to texts in the library: the library must still be loaded.
    const rapidjson::Value* const inventory = findInventory(request);
    if (inventory == nullptr) {
        const auto fault = faultOf(CByteView(fru->Read()));
        console.Error(
            fru->Name() + ": " +
            (fault ? "no valid record: " + *fault : "the module answers " + answerText(request)));
        return exitFailed;
    }
    if (options.tree) {
        console.Text(inventoryTree(options.source.path, *inventory, console.OutputTerminal()));
    } else {
        console.Document(prettyJson(*inventory));
    }
    return deleted ? exitDone : exitFailed;
}

}  // namespace em_pni
