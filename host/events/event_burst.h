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

// Reports one event of each kind when the burst has ended: `quietTime` after its last event,
// `longest` after its first one at the latest. While an added card has no interface yet, the burst
// lasts `longest`: the module would store it without an address. Removals come first: the module
// scans the whole machine after each event. Without the removal, a scan would only find that the
// addresses of a pulled card are gone.
class CEventBursts {
  public:
    using TimePoint = CIEventSource::Clock::time_point;
    static constexpr std::chrono::milliseconds quietTime{100};
    static constexpr std::chrono::milliseconds longest{500};

    // `name` is the device, for the report; may be empty. `interfaces` is 1 for a device that will
    // get an interface, -1 for an interface.
    void Note(HostEvent event, const std::string& name, TimePoint now, int interfaces = 0);
    // No value when there is no burst.
    [[nodiscard]] std::optional<TimePoint> DueAt() const;
    // The next event that is due; no value when there is none.
    std::optional<EventReport> TakeDue(TimePoint now);

  private:
    struct Names {
        std::set<std::string> all;
        std::vector<std::string> first;  // those that the report names, in order of arrival
    };

    static std::string OriginOf(const Names& names);

    TimePoint latestEnd_;  // of the burst, when there is one
    TimePoint end_;        // when no more events come
    int missingInterfaces_ = 0;
    std::map<HostEvent, Names, std::greater<>> events_;  // removed, changed, added
};

}  // namespace em_pni
