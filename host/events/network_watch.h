// Hears from the kernel when addresses or links of the machine change.
#pragma once

#include "host/events/event_burst.h"
#include "host/machine/netlink.h"

namespace em_pni {

class CNetworkWatch final : public CIEventSource {
  public:
    // Everything from here on is heard. Throws a CHostError.
    CNetworkWatch();

    // Takes all reports there are, without waiting; false when there are none. Reports that the
    // kernel had to drop count as well.
    bool TakeReports();

    // During a burst there is nothing to learn from the next change.
    [[nodiscard]] int Descriptor() const noexcept override;
    void Take(Clock::time_point now) override;
    [[nodiscard]] std::optional<Clock::time_point> DueAt() const override {
        return bursts_.DueAt();
    }
    std::optional<EventReport> NextReport(Clock::time_point now) override;

  private:
    NetlinkSocket socket_;
    CEventBursts bursts_;
};

}  // namespace em_pni
