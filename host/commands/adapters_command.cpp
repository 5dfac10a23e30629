#include "devscan/scan.h"
#include "host/commands/commands.h"
#include "host/machine/adapter_details.h"

namespace em_pni {

int listAdapters(const AdaptersOptions& options, CConsole& console) {
    CMachine machine;
    const auto found = ScanSystemAdapters(machine);
    if (!found) {
        console.Error("cannot read the PCI functions of this machine");
        return exitFailed;
    }
    CHardwareDatabase database;
    const std::vector<AdapterReport> adapters = reportAdapters(*found, machine.Files(), database);
    if (options.json) {
        console.Document(adapterJson(adapters));
    } else if (adapters.empty()) {
        console.Line("no network or Fibre Channel adapters found");
    } else {
        console.Text(adapterTree(adapters, console.OutputTerminal()));
    }
    return exitDone;
}

}  // namespace em_pni
