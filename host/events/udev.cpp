#include "host/events/udev.h"

#include <libudev.h>

namespace em_pni {

void FreeUdev::operator()(udev* context) const noexcept {
    ::udev_unref(context);
}

void FreeUdev::operator()(udev_device* device) const noexcept {
    ::udev_device_unref(device);
}

void FreeUdev::operator()(udev_monitor* monitor) const noexcept {
    ::udev_monitor_unref(monitor);
}

}  // namespace em_pni
