#include "host/commands/commands.h"
#include "host/machine/hardware_database.h"
#include "host/output/storage_report.h"
#include "storage/storage_scan.h"

namespace em_pni {

int listStorage(const StorageOptions& options, CConsole& console) {
    CMachine machine;
    StorageReport report{scanStorage(machine, {}), {}};
    CHardwareDatabase database;
    for (const StorageController& controller : report.storage.controllers) {
        report.names.push_back(database.Find(controller.ids));
    }
    if (options.json) {
        console.Document(storageJson(report));
    } else {
        console.Text(storageTree(report, console.OutputTerminal()));
    }
    return exitDone;
}

}  // namespace em_pni
