#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/commands/running_module.h"
#include "host/events/device_watch.h"
#include "host/events/event_socket.h"
#include "host/events/network_watch.h"
#include "host/events/run_waiter.h"
#include "host/machine/fru_lock.h"
#include "host/machine/kernel_network.h"
#include "host/machine/open_fru.h"
#include "host/output/host_error.h"
#include "host/output/service_status.h"
#include "module/module_config.h"
#include "pni/pni_ext_module.h"

namespace em_pni {

namespace {

constexpr unsigned mostRestarts = 3;  // of a run with --once

std::string config(const RunOptions& options) {
    if (!options.cycle && !options.once) {
        return "";  // the module looks for its file
    }
    return cycleConfig(options.cycle.value_or(onlyAfterEvents));
}

void addSources(CRunWaiter& waiter, const RunOptions& options, const CFruPlace& place,
                const CFruController& controller, CConsole& console) {
    waiter.Add(std::make_unique<CEventSocket>(place, console));
    if (options.watch) {
        // Device events come first: one cycle then sees that a card and its addresses are gone.
        waiter.Add(std::make_unique<CDeviceWatch>());
        waiter.Add(
            std::make_unique<CNetworkWatch>(std::chrono::milliseconds(options.writeInterval),
                                            [&controller] { return controller.LastWrite(); }));
    }
}

std::string countText(unsigned writes) {
    return std::to_string(writes) + (writes == 1 ? " write" : " writes");
}

// Runs until a signal ends it.
void serve(CRunningModule& module, CRunWaiter& waiter, CControllerReport& report,
           const CServiceStatus& service) {
    for (;;) {
        service.Text("keeps the record up to date, " + countText(report.Writes()));
        const CRunWaiter::Occasion occasion = waiter.Wait(module.QuietAt());
        service.Alive();
        if (std::holds_alternative<CRunWaiter::Stop>(occasion)) {
            return;
        }
        if (std::holds_alternative<CRunWaiter::Reload>(occasion)) {
            service.Reloading();
            module.Reload();
            service.Ready();
        } else if (const auto* const event = std::get_if<EventReport>(&occasion)) {
            module.Deliver(*event);
        } else if (std::holds_alternative<CRunWaiter::Written>(occasion)) {
            if (report.TakeChangedByOthers()) {
                module.Restart();
                module.Look();
            } else if (report.TakeLateWrite()) {
                module.Wake();
            } else {
                module.Look();
            }
        }
        module.SettleIfQuiet(CIEventSource::Clock::now());
    }
}

struct FirstRead {
    std::vector<std::uint8_t> bytes;
    std::optional<std::string> fault;  // why there is no valid record
};

// Reports bad FRU data before the module is loaded. A controller needs a valid record: nothing is
// ever written to one that has none.
FirstRead readUsable(COpenFru& fru, CRunLog& log) {
    if (const auto note = fru.Store().Mend()) {
        log.Write({.event = "note", .text = "note: " + fru.Store().Name() + ": " + *note});
    }
    FirstRead read{fru.Store().Read(), {}};
    read.fault = faultOf(CByteView(read.bytes));
    if (read.fault && fru.IsController()) {
        throw CHostError(fru.Store().Name() + ": no valid record: " + *read.fault);
    }
    return read;
}

// A cycle time of 0 gives the module no rest.
void warnOfEndlessCycles(const RunOptions& options, CConsole& console) {
    const std::string text = config(options);
    const auto cycle = readModuleProperty(text.empty() ? nullptr : text.c_str(), PniPlaces().config,
                                          "EM_PNI", "FruUpdateCycle");
    if (cycle && *cycle == 0) {
        console.Error("FruUpdateCycle is 0: the module runs cycles without a pause");
    }
}

}  // namespace

int runModule(const RunOptions& options, CConsole& console) {
    if (std::error_code ignored; !std::filesystem::exists(options.source.path, ignored)) {
        throw CHostError(
            options.source.path +
            (options.source.path.starts_with("/dev/")
                 ? ": no such device; load the kernel's drivers ipmi_si and ipmi_devintf"
                 : ": no such file; \"pni-host create\" makes an image file"));
    }
    COpenFru fru(options.source, CFruPlace::Use::write);
    requireWritableFolder(fru.Place());
    const CServiceStatus service;
    const CEndSignals signals;  // a signal must not end the program before the lock is removed
    const CFruLock lock(fru.Place());
    CRunLog log(console, options.style);
    FirstRead first = readUsable(fru, log);
    warnOfEndlessCycles(options, console);
    // Its event socket must be gone before the lock.
    CRunWaiter waiter(signals,
                      {.hangupReloads = service.IsService(), .tick = service.AliveInterval()});
    CControllerReport report(log, console, waiter);
    CFruController controller(fru.Store(), report, CFruController::Access::readWrite,
                              options.capacity);
    if (!options.once) {
        addSources(waiter, options, fru.Place(), controller, console);
    }
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CPlayedHost host(&controller, network, console, config(options), console.TraceLevel());
    const CModuleLibrary library(options.module.empty() ? defaultModulePath() : options.module);
    CRunningModule module(library, host, controller, report, log, console, options.cards);
    module.Start(std::move(first.bytes));
    if (!module.Valid() && first.fault) {
        console.Error(fru.Store().Name() + ": no valid record: " + *first.fault);
    }
    if (options.once) {
        module.Stop();
        for (unsigned i = 0; i < mostRestarts && report.TakeChangedByOthers(); ++i) {
            module.Restart();
            module.Stop();
        }
        controller.Finish();
        if (report.TakeLateWrite()) {
            module.ReadAgain();  // the module does not know that its write has succeeded
            module.Stop();
        }
    } else {
        module.ShowNotEntered();
        service.Ready();
        serve(module, waiter, report, service);
        service.Stopping();
        if (controller.IsWriting()) {
            service.Text("waits for the end of a write");
            report.OnNote(fru.Store().Name() + ": a write is under way; the end waits for it");
        }
        module.AnnounceShutdown();  // with --once the only cycle must write
        module.Stop();
    }
    module.Look();  // the last cycle may have ended after the last Wait
    const unsigned writesSeen = report.Writes();
    const bool deleted = module.Delete();
    controller.Finish();
    if (report.TakeChangedByOthers()) {
        report.OnWriteFailed("another program has changed the FRU data");
    }
    if (report.Writes() != writesSeen) {
        // Stop waits five seconds for a running cycle, Delete waits until it has ended.
        log.Write({.event = "written",
                   .text = "written: the last cycle made more changes, which are not listed"});
    } else if (options.once && module.Valid() && !module.Changed() && !report.WriteFailed()) {
        log.Write({.event = "unchanged", .text = "unchanged"});
    }
    if (deleted) {
        log.Write({.event = "stopped", .text = "stopped"});
    } else {
        console.Error(library.Path() + ": the module reports a failure at its end");
    }
    return deleted && module.Valid() && !report.WriteFailed() ? exitDone : exitFailed;
}

}  // namespace em_pni
