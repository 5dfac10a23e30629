// Listens to the kernel for changes of addresses and links.
#pragma once

#include "host/events/event_burst.h"
#include "host/machine/kernel_network.h"

namespace em_pni {

class CNetworkWatch final : public CIEventSource {
  public:
    // Changes are collected from now on. After a write they are reported only when `writeInterval`
    // has passed: a controller's memory bears a limited number of writes, and an address may come
    // and go without end. Throws a CHostError.
    explicit CNetworkWatch(std::chrono::milliseconds writeInterval);

    // Reads all reports of the kernel, without waiting. False when there are none. Reports that the
    // kernel has dropped count, too.
    bool TakeReports();

    [[nodiscard]] int Descriptor() const noexcept override;
    void Take(Clock::time_point now) override;
    [[nodiscard]] std::optional<Clock::time_point> DueAt() const override {
        return bursts_.DueAt();
    }
    std::optional<EventReport> NextReport(Clock::time_point now) override {
        return bursts_.TakeDue(now);
    }
    void OnWritten(Clock::time_point now) override { bursts_.Hold(now + writeInterval_); }

  private:
    const std::chrono::milliseconds writeInterval_;
    NetlinkSocket socket_;
    CEventBursts bursts_;
};

}  // namespace em_pni
