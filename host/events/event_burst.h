// Makes one event of the many that the kernel reports about one card.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/events/host_event.h"

namespace em_pni {

// Collects events for half a second from the first one on and then reports one event of each kind.
// Removals come first: the module scans the whole machine after each event. Without the removal, a
// scan would only find that the addresses of a pulled card are gone.
class CEventBursts {
  public:
    using TimePoint = CIEventSource::Clock::time_point;
    static constexpr std::chrono::milliseconds length{500};

    // `name` is the device, for the report; may be empty.
    void Note(HostEvent event, const std::string& name, TimePoint now);
    // The end of the burst; no value when there is no burst.
    [[nodiscard]] std::optional<TimePoint> DueAt() const;
    // The next event of a burst that has ended; no value when there is none.
    std::optional<EventReport> TakeDue(TimePoint now);

  private:
    struct Names {
        std::set<std::string> all;
        std::vector<std::string> first;  // those that the report names, in order of arrival
    };

    static std::string OriginOf(const Names& names);

    TimePoint end_;                                      // of the burst, when there is one
    std::map<HostEvent, Names, std::greater<>> events_;  // removed, changed, added
};

}  // namespace em_pni
