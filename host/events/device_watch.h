// Listens to the kernel for PCI functions and network interfaces that are added, changed or
// removed.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "host/events/event_burst.h"

struct udev;
struct udev_device;
struct udev_monitor;

namespace em_pni {

// The event for an action of the kernel on the device at `path` (below /sys). No value for a device
// that is not an adapter: bridges, tunnels and other virtual interfaces stand below
// /devices/virtual.
std::optional<HostEvent> deviceEventOf(std::string_view subsystem, std::string_view action,
                                       std::string_view path) noexcept;

// Needs no udev daemon.
class CDeviceWatch final : public CIEventSource {
  public:
    // Events are collected from now on. Throws a CHostError.
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
    struct Free {
        void operator()(udev* context) const noexcept;
        void operator()(udev_monitor* monitor) const noexcept;
    };

    void Note(udev_device* device, Clock::time_point now);

    std::unique_ptr<udev, Free> udev_;
    std::unique_ptr<udev_monitor, Free> monitor_;
    CEventBursts bursts_;
};

}  // namespace em_pni
