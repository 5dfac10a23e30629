// Where a running host learns of events.
#pragma once

#include <chrono>
#include <optional>

#include "host/events/host_event.h"

namespace em_pni {

class CIEventSource {
  public:
    using Clock = std::chrono::steady_clock;

    virtual ~CIEventSource() = default;

    // Readable when there is something to take; -1 while there is nothing to learn from it.
    [[nodiscard]] virtual int Descriptor() const noexcept = 0;
    // Takes what there is, without waiting.
    virtual void Take(Clock::time_point now) = 0;
    // When the next report is due though nothing more is taken; nothing = never.
    [[nodiscard]] virtual std::optional<Clock::time_point> DueAt() const = 0;
    // The next report that is due by now; nothing when none is.
    virtual std::optional<EventReport> NextReport(Clock::time_point now) = 0;
};

}  // namespace em_pni
