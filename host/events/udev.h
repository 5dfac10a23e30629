// libudev with owners for its objects.
#pragma once

#include <memory>

struct udev;
struct udev_device;
struct udev_monitor;

namespace em_pni {

struct FreeUdev {
    void operator()(udev* context) const noexcept;
    void operator()(udev_device* device) const noexcept;
    void operator()(udev_monitor* monitor) const noexcept;
};
using Udev = std::unique_ptr<udev, FreeUdev>;
using UdevDevice = std::unique_ptr<udev_device, FreeUdev>;
using UdevMonitor = std::unique_ptr<udev_monitor, FreeUdev>;

}  // namespace em_pni
