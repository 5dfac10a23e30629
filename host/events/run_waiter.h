// What the main thread of a running host waits for: signals, writes and events.
#pragma once

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "host/events/host_event.h"
#include "platform/file.h"

namespace em_pni {

// Blocks SIGINT, SIGTERM, SIGPIPE and SIGHUP, which then only reach CRunWaiter::Wait. A SIGHUP that
// the program ignores stays ignored. Create it before any other thread, because threads inherit the
// blocked signals, and before anything that the program must remove at its end.
class CEndSignals {
  public:
    CEndSignals() noexcept;
    // Drops pending signals.
    ~CEndSignals();
    CEndSignals(const CEndSignals&) = delete;
    CEndSignals& operator=(const CEndSignals&) = delete;

    [[nodiscard]] const sigset_t& Get() const noexcept { return signals_; }
    // Whether one of the signals has come and nobody has taken it.
    [[nodiscard]] bool IsPending() const noexcept;

  private:
    sigset_t signals_{};
    sigset_t previousMask_{};
};

class CRunWaiter {
  public:
    struct Stop {};
    struct Reload {};
    struct Written {};
    struct Tick {};
    using Occasion = std::variant<Stop, Reload, Written, Tick, EventReport>;

    struct Settings {
        bool hangupReloads = false;                     // SIGHUP is a Reload, else a Stop
        std::optional<std::chrono::milliseconds> tick;  // longest time between two Ticks
    };

    // Throws a CHostError.
    CRunWaiter(const CEndSignals& signals, const Settings& settings);

    // Wait also reports the events of this source.
    void Add(std::unique_ptr<CIEventSource> source);
    // Any thread may call. Several calls before the next Wait count as one.
    void NotifyWritten() noexcept;
    // A Tick comes when it is due, and at `wakeAt`. A signal comes before a write, and a write
    // before the events of the sources. While a source has an event that is not yet due, the events
    // of the sources added later wait.
    Occasion Wait(std::optional<CIEventSource::Clock::time_point> wakeAt = {});

  private:
    using Clock = CIEventSource::Clock;

    [[nodiscard]] int TimeLeft(std::optional<Clock::time_point> wakeAt) const;
    [[nodiscard]] bool IsReload() const;

    const Settings settings_;
    Clock::time_point nextTick_;
    CFileDescriptor signalQueue_;
    CFileDescriptor written_;
    std::vector<std::unique_ptr<CIEventSource>> sources_;
};

}  // namespace em_pni
