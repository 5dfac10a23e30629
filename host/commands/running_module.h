// The module of `pni-host run`: its session, its controller's reports and what the user sees of it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/events/host_event.h"
#include "host/events/run_waiter.h"
#include "host/machine/fru_controller.h"
#include "host/output/run_log.h"
#include "host/session/inventory_watch.h"
#include "host/session/machine_view.h"
#include "host/session/module_session.h"
#include "host/session/played_host.h"

namespace em_pni {

// Counts and reports what the controller does. Wakes the waiter after a write.
class CControllerReport final : public CIFruListener {
  public:
    CControllerReport(CRunLog& log, CConsole& console, CRunWaiter& waiter)
        : log_(log), console_(console), waiter_(waiter) {}

    void OnRead(std::size_t bytes) override;
    void OnWritten(std::size_t bytes) override;
    void OnLateWrite() override;
    void OnReadFailed(const std::string& reason) override;
    void OnWriteFailed(const std::string& reason) override;
    void OnChangedByOthers() override;
    void OnNote(const std::string& text) override;

    [[nodiscard]] unsigned Writes() const noexcept { return writes_; }
    // Of the last write.
    [[nodiscard]] std::size_t Bytes() const noexcept { return bytes_; }
    // Whether the last write failed.
    [[nodiscard]] bool WriteFailed() const noexcept { return writeFailed_; }
    [[nodiscard]] unsigned Failures() const noexcept { return failures_; }
    // True once for each time.
    [[nodiscard]] bool TakeChangedByOthers() noexcept { return changedByOthers_.exchange(false); }
    [[nodiscard]] bool TakeLateWrite() noexcept { return lateWrite_.exchange(false); }

  private:
    CRunLog& log_;
    CConsole& console_;
    CRunWaiter& waiter_;
    std::atomic<unsigned> writes_{0};
    std::atomic<std::size_t> bytes_{0};
    std::atomic<unsigned> failures_{0};
    std::atomic<bool> writeFailed_{false};
    std::atomic<bool> changedByOthers_{false};
    std::atomic<bool> lateWrite_{false};
};

// One thread uses it. All that it refers to must outlive it.
class CRunningModule {
  public:
    using TimePoint = CIEventSource::Clock::time_point;

    // With `comparesCards`, Start also adds new cards and removes those that are gone: most cards
    // change while the power is off.
    CRunningModule(const CModuleLibrary& library, CPlayedHost& host, CFruController& controller,
                   CControllerReport& report, CRunLog& log, CConsole& console, bool comparesCards)
        : library_(library),
          host_(host),
          controller_(controller),
          report_(report),
          log_(log),
          comparesCards_(comparesCards),
          watch_(console) {}

    // `bytes`: the FRU data, just read; empty = they are read now.
    void Start(std::vector<std::uint8_t> bytes = {});
    // The module reads its configuration and the record again.
    void Reload();
    // The module reads the record again. Restart says that another program has changed it.
    void ReadAgain() { session_->SwitchStarted(); }
    void Restart();
    // The module runs a cycle.
    void Wake();
    void Deliver(const EventReport& event);
    // Reports the writes since the last call, and what they changed.
    void Look();
    // Reports the adapters that are not in the inventory.
    void ShowNotEntered();
    // When SettleIfQuiet should be called; no value = no event waits for its end.
    [[nodiscard]] std::optional<TimePoint> QuietAt() const;
    // When the module has been quiet after the last event: reports that it changed nothing.
    void SettleIfQuiet(TimePoint now);

    void AnnounceShutdown() { session_->AnnounceShutdown(); }
    void Stop() { session_->Stop(); }
    // False when the module reports a failure.
    bool Delete() { return session_->Delete(); }
    [[nodiscard]] bool Valid() const noexcept { return watch_.Inventory() != nullptr; }
    [[nodiscard]] bool Changed() const noexcept { return changed_; }

  private:
    void RepeatDeviceEvents();

    const CModuleLibrary& library_;
    CPlayedHost& host_;
    CFruController& controller_;
    CControllerReport& report_;
    CRunLog& log_;
    const bool comparesCards_;
    CInventoryWatch watch_;
    CMachineView machine_;
    std::optional<CModuleSession> session_;
    std::set<HostEvent> deviceEvents_;     // since the last write
    std::optional<EventReport> settling_;  // the last event, until the module is quiet
    TimePoint deliveredAt_;
    unsigned writesAtEvent_ = 0;
    unsigned failuresAtEvent_ = 0;
    unsigned writesSeen_ = 0;
    bool changed_ = false;
};

}  // namespace em_pni
