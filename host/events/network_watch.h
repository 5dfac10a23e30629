// Listens to the kernel for changes of addresses and links.
#pragma once

#include "host/events/event_burst.h"
#include "host/machine/kernel_network.h"

namespace em_pni {

class CNetworkWatch final : public CIEventSource {
  public:
    // Changes are collected from now on. Throws a CHostError.
    CNetworkWatch();

    // Reads all reports of the kernel, without waiting. False when there are none. Reports that the
    // kernel has dropped count, too.
    bool TakeReports();

    // -1 during a burst: more changes do not alter its one event.
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
