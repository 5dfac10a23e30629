// Hears from the kernel when PCI functions and their network interfaces come, change and go.
#pragma once

#include <optional>
#include <string_view>

#include "host/events/event_burst.h"
#include "host/events/udev.h"

namespace em_pni {

// What an action of the kernel on the device at `path` (below /sys) is for the module; nothing when
// it is none of an adapter: bridges, tunnels and the like stand below /devices/virtual.
std::optional<HostEvent> deviceEventOf(std::string_view subsystem, std::string_view action,
                                       std::string_view path) noexcept;

// Listens to the kernel itself: no udev daemon need run.
class CDeviceWatch final : public CIEventSource {
  public:
    // Everything from here on is heard. Throws a CHostError.
    CDeviceWatch();

    [[nodiscard]] int Descriptor() const noexcept override;
    void Take(Clock::time_point now) override;
    [[nodiscard]] std::optional<Clock::time_point> DueAt() const override {
        return bursts_.DueAt();
    }
    std::optional<EventReport> NextReport(Clock::time_point now) override {
        return bursts_.TakeDue(now);
    }

  private:
    void Note(udev_device* device, Clock::time_point now);

    Udev udev_;
    UdevMonitor monitor_;
    CEventBursts bursts_;
};

}  // namespace em_pni
