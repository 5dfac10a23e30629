#include "host/event_burst.h"

#include <algorithm>

namespace em_pni {

namespace {

constexpr std::size_t namesTold = 4;

}  // namespace

void CEventBursts::Note(HostEvent event, const std::string& name, TimePoint now) {
    auto burst = std::find_if(bursts_.begin(), bursts_.end(),
                              [event](const Burst& other) { return other.event == event; });
    if (burst == bursts_.end()) {
        burst = bursts_.insert(burst, {event, now + length});
    }
    if (!name.empty() && burst->names.insert(name).second && burst->firstNames.size() < namesTold) {
        burst->firstNames.push_back(name);
    }
}

std::optional<CEventBursts::TimePoint> CEventBursts::DueAt() const {
    if (bursts_.empty()) {
        return std::nullopt;
    }
    return bursts_.front().end;
}

std::optional<EventReport> CEventBursts::TakeDue(TimePoint now) {
    if (bursts_.empty() || now < bursts_.front().end) {
        return std::nullopt;
    }
    EventReport report{bursts_.front().event, OriginOf(bursts_.front())};
    bursts_.pop_front();
    return report;
}

std::string CEventBursts::OriginOf(const Burst& burst) {
    std::string origin;
    for (const std::string& name : burst.firstNames) {
        origin += (origin.empty() ? "" : ", ") + name;
    }
    if (const std::size_t more = burst.names.size() - burst.firstNames.size(); more > 0) {
        origin += " and " + std::to_string(more) + " more";
    }
    return origin;
}

}  // namespace em_pni
