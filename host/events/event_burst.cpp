#include "host/events/event_burst.h"

#include <algorithm>

namespace em_pni {

namespace {

constexpr std::size_t maxNames = 4;  // in one report

}  // namespace

void CEventBursts::Note(HostEvent event, const std::string& name, TimePoint now, int interfaces) {
    if (events_.empty()) {
        latestEnd_ = now + longest;
        missingInterfaces_ = 0;
    }
    missingInterfaces_ += interfaces;
    end_ = missingInterfaces_ > 0 ? latestEnd_ : std::min(now + quietTime, latestEnd_);
    Names& names = events_[event];
    if (!name.empty() && names.all.insert(name).second && names.first.size() < maxNames) {
        names.first.push_back(name);
    }
}

std::optional<CEventBursts::TimePoint> CEventBursts::DueAt() const {
    return events_.empty() ? std::nullopt : std::optional(end_);
}

std::optional<EventReport> CEventBursts::TakeDue(TimePoint now) {
    if (const auto due = DueAt(); !due || now < *due) {
        return std::nullopt;
    }
    const auto next = events_.begin();
    EventReport report{next->first, OriginOf(next->second)};
    events_.erase(next);
    return report;
}

std::string CEventBursts::OriginOf(const Names& names) {
    std::string origin;
    for (const std::string& name : names.first) {
        origin += (origin.empty() ? "" : ", ") + name;
    }
    if (const std::size_t more = names.all.size() - names.first.size(); more > 0) {
        origin += " and " + std::to_string(more) + " more";
    }
    return origin;
}

}  // namespace em_pni
