// Makes one event of the many that the kernel reports about one thing.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/event_source.h"

namespace em_pni {

// All events of a kind in the half second from the first one on are reported as one, at its end.
class CEventBursts {
  public:
    using TimePoint = CIEventSource::Clock::time_point;
    static constexpr std::chrono::milliseconds length{500};

    // `name` is what it happened to, for the report; may be empty.
    void Note(HostEvent event, const std::string& name, TimePoint now);
    // When the next burst ends, nothing without any.
    [[nodiscard]] std::optional<TimePoint> DueAt() const;
    // The burst that ended first, once it has; bursts end in the order in which they began.
    std::optional<EventReport> TakeDue(TimePoint now);

  private:
    struct Burst {
        HostEvent event;
        TimePoint end;
        std::set<std::string> names{};
        std::vector<std::string> firstNames{};  // the few that the report tells, as they came
    };

    static std::string OriginOf(const Burst& burst);

    std::deque<Burst> bursts_;
};

}  // namespace em_pni
