// Makes one event of the many that the kernel reports about one thing.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/events/event_source.h"

namespace em_pni {

// All events in the half second from the first one on are reported at its end, those of a kind as
// one. Removals come first: whatever the module hears of, it looks at the whole machine, and of a
// card on its way out it would at first only see that the addresses have gone.
class CEventBursts {
  public:
    using TimePoint = CIEventSource::Clock::time_point;
    static constexpr std::chrono::milliseconds length{500};

    // `name` is what it happened to, for the report; may be empty.
    void Note(HostEvent event, const std::string& name, TimePoint now);
    // When the burst ends, nothing without any.
    [[nodiscard]] std::optional<TimePoint> DueAt() const;
    // The next event of the burst, once that has ended.
    std::optional<EventReport> TakeDue(TimePoint now);

  private:
    struct Names {
        std::set<std::string> all;
        std::vector<std::string> first;  // the few that the report tells, as they came
    };

    static std::string OriginOf(const Names& names);

    TimePoint end_;                                      // of the burst, while there is one
    std::map<HostEvent, Names, std::greater<>> events_;  // removed, changed, added
};

}  // namespace em_pni
