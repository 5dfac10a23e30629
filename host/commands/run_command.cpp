#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/events/device_watch.h"
#include "host/events/event_socket.h"
#include "host/events/network_watch.h"
#include "host/events/run_waiter.h"
#include "host/machine/fru_lock.h"
#include "host/machine/kernel_network.h"
#include "host/machine/open_fru.h"
#include "host/output/host_error.h"
#include "host/output/service_status.h"
#include "host/session/inventory_watch.h"
#include "host/session/module_session.h"
#include "host/session/played_host.h"
#include "platform/text.h"

namespace em_pni {

namespace {

constexpr unsigned mostRestarts = 3;  // of a run with --once

class CRunReport final : public CIFruListener {
  public:
    CRunReport(CConsole& console, CRunWaiter& waiter) : console_(console), waiter_(waiter) {}

    void OnRead(std::size_t bytes) override { Say("read: ", bytes); }
    void OnWritten(std::size_t bytes) override {
        Say("written: ", bytes);
        ++writes_;
        waiter_.NotifyWritten();
    }
    void OnReadFailed(const std::string& reason) override { console_.Error(reason); }
    void OnWriteFailed(const std::string& reason) override {
        writeFailed_ = true;
        console_.Line("not written: " + reason);
        console_.Error(reason);
    }
    void OnChangedByOthers() override {
        changedByOthers_ = true;
        waiter_.NotifyWritten();
    }
    void OnNote(const std::string& text) override { console_.Line("note: " + text); }

    [[nodiscard]] unsigned Writes() const noexcept { return writes_; }
    [[nodiscard]] bool WriteFailed() const noexcept { return writeFailed_; }
    // True once for each time.
    [[nodiscard]] bool TakeChangedByOthers() noexcept { return changedByOthers_.exchange(false); }

  private:
    void Say(const char* what, std::size_t bytes) {
        console_.Line(what + std::to_string(bytes) + " bytes");
    }

    CConsole& console_;
    CRunWaiter& waiter_;
    std::atomic<unsigned> writes_{0};
    std::atomic<bool> writeFailed_{false};
    std::atomic<bool> changedByOthers_{false};
};

std::string config(const RunOptions& options) {
    if (!options.cycle && !options.once) {
        return "";  // the module looks for its file
    }
    return cycleConfig(options.cycle.value_or(onlyAfterEvents));
}

// The module in its session, which can be started anew.
class CRunningModule {
  public:
    CRunningModule(const CModuleLibrary& library, CIHostInterface& host, CRunReport& report,
                   CConsole& console)
        : library_(library), host_(host), report_(report), console_(console), watch_(console) {}

    void Start() {
        session_.emplace(library_, host_);
        session_->Start();
        console_.Line("started: " + session_->Description());
        watch_.Look(*session_);
        session_->SwitchStarted();
    }

    // The module reads its configuration and the record again.
    void Reload() {
        session_->Stop();
        session_->Delete();
        Start();
        RepeatDeviceEvents();
    }

    void Deliver(const EventReport& event) {
        const std::string origin = event.origin.empty() ? "" : " (" + printable(event.origin) + ")";
        console_.Line("event: " + textOf(event.event) + origin);
        if (auto message = messageOf(event.event)) {
            session_->Report(*message);
            if (event.event != HostEvent::addressChanged) {
                deviceEvents_.insert(event.event);
                writesBeforeEvents_ = report_.Writes();
            }
        } else {
            session_->AnnounceShutdown();
        }
    }

    // The module reads the record again.
    void Restart() {
        console_.Line("restarted: another program has changed the FRU data");
        session_->SwitchStarted();
        RepeatDeviceEvents();
    }

    void Look() {
        if (report_.Writes() != writesBeforeEvents_) {
            deviceEvents_.clear();
        }
        watch_.Look(*session_);
    }

    void AnnounceShutdown() { session_->AnnounceShutdown(); }
    void Stop() { session_->Stop(); }
    // False when the module reports a failure.
    bool Delete() { return session_->Delete(); }
    [[nodiscard]] bool Valid() const noexcept { return watch_.Valid(); }
    [[nodiscard]] bool Changed() const noexcept { return watch_.Changed(); }

  private:
    // The module has taken these events to a record that was not written.
    void RepeatDeviceEvents() {
        for (const HostEvent event : deviceEvents_) {
            session_->Report(*messageOf(event));
        }
    }

    const CModuleLibrary& library_;
    CIHostInterface& host_;
    CRunReport& report_;
    CConsole& console_;
    CInventoryWatch watch_;
    std::optional<CModuleSession> session_;
    std::set<HostEvent> deviceEvents_;  // since the last write
    unsigned writesBeforeEvents_ = 0;   // when the last of them came
};

void addSources(CRunWaiter& waiter, const RunOptions& options, const CFruPlace& place,
                CConsole& console) {
    waiter.Add(std::make_unique<CEventSocket>(place, console));
    if (options.watch) {
        // Device events come first: one cycle then sees that a card and its addresses are gone.
        waiter.Add(std::make_unique<CDeviceWatch>());
        waiter.Add(
            std::make_unique<CNetworkWatch>(std::chrono::milliseconds(options.writeInterval)));
    }
}

// Runs until a signal ends it.
void serve(CRunningModule& module, CRunWaiter& waiter, CRunReport& report,
           const CServiceStatus& service) {
    for (;;) {
        service.Text("keeps the record up to date, " + std::to_string(report.Writes()) + " writes");
        const CRunWaiter::Occasion occasion = waiter.Wait();
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
            }
            module.Look();
        }
    }
}

// Reports bad FRU data before the module is loaded. A controller needs a valid record: nothing is
// ever written to one that has none.
void requireUsable(COpenFru& fru, CConsole& console) {
    if (const auto note = fru.Store().Mend()) {
        console.Line("note: " + fru.Store().Name() + ": " + *note);
    }
    const std::vector<std::uint8_t> bytes = fru.Store().Read();
    if (const auto fault = faultOf(CByteView(bytes)); fault && fru.IsController()) {
        throw CHostError(fru.Store().Name() + ": no valid record: " + *fault);
    }
}

}  // namespace

int runModule(const RunOptions& options, CConsole& console) {
    COpenFru fru(options.source, CFruPlace::Use::write);
    requireWritableFolder(fru.Place());
    const CServiceStatus service;
    const CEndSignals signals;  // a signal must not end the program before the lock is removed
    const CFruLock lock(fru.Place());
    requireUsable(fru, console);
    // Its event socket must be gone before the lock.
    CRunWaiter waiter(signals,
                      {.hangupReloads = service.IsService(), .tick = service.AliveInterval()});
    if (!options.once) {
        addSources(waiter, options, fru.Place(), console);
    }
    CRunReport report(console, waiter);
    CFruController controller(fru.Store(), report, CFruController::Access::readWrite,
                              options.capacity);
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CPlayedHost host(&controller, network, console, config(options));
    const CModuleLibrary library(options.module.empty() ? defaultModulePath() : options.module);
    CRunningModule module(library, host, report, console);
    module.Start();
    if (options.once) {
        module.Stop();
        for (unsigned i = 0; i < mostRestarts && report.TakeChangedByOthers(); ++i) {
            module.Restart();
            module.Stop();
        }
    } else {
        service.Ready();
        serve(module, waiter, report, service);
        service.Stopping();
        module.AnnounceShutdown();  // with --once the only cycle must write
        module.Stop();
    }
    const unsigned writesSeen = report.Writes();
    module.Look();  // the last cycle may have ended after the last Wait
    const bool deleted = module.Delete();
    controller.Finish();
    if (report.TakeChangedByOthers()) {
        report.OnWriteFailed("another program has changed the FRU data");
    }
    if (report.Writes() != writesSeen) {
        // Stop waits five seconds for a running cycle, Delete waits until it has ended.
        console.Line("changed: the last cycle made more changes, which are not listed");
    } else if (options.once && module.Valid() && !module.Changed() && !report.WriteFailed()) {
        console.Line("unchanged");
    }
    if (deleted) {
        console.Line("stopped");
    } else {
        console.Error(library.Path() + ": the module reports a failure at its end");
    }
    return deleted && module.Valid() && !report.WriteFailed() ? exitDone : exitFailed;
}

}  // namespace em_pni
