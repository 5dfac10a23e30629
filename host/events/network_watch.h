// Listens to the kernel for changes of addresses and links.
#pragma once

#include <functional>

#include "host/events/event_burst.h"
#include "host/machine/kernel_network.h"

namespace em_pni {

class CNetworkWatch final : public CIEventSource {
  public:
    // When the last write ended; now while one may be under way.
    using LastWrite = std::function<Clock::time_point()>;

    // Changes are collected from now on. After a write they are reported only when `writeInterval`
    // has passed: a controller's memory bears a limited number of writes, and an address may come
    // and go without end. Throws a CHostError.
    CNetworkWatch(std::chrono::milliseconds writeInterval, LastWrite lastWrite);

    [[nodiscard]] int Descriptor() const noexcept override;
    void Take(Clock::time_point now) override;
    [[nodiscard]] std::optional<Clock::time_point> DueAt() const override;
    std::optional<EventReport> NextReport(Clock::time_point now) override;

  private:
    // Reads all reports of the kernel, without waiting. False when there are none. Reports that the
    // kernel has dropped count, too.
    bool TakeReports();

    const std::chrono::milliseconds writeInterval_;
    const LastWrite lastWrite_;
    NetlinkSocket socket_;
    CEventBursts bursts_;
};

}  // namespace em_pni
