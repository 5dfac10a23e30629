#include "host/events/device_watch.h"

#include <cerrno>
#include <cstdlib>
#include <libudev.h>
#include <string>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

constexpr const char* pciSubsystem = "pci";
constexpr const char* netSubsystem = "net";

// Throws when the result of a libudev call is a negative errno.
void requireWatch(int result) {
    if (result < 0) {
        throw CHostError(systemErrorText("cannot watch the devices; use --no-watch to run without",
                                         std::abs(result)));
    }
}

struct FreeDevice {
    void operator()(udev_device* device) const noexcept { ::udev_device_unref(device); }
};

std::string_view viewOf(const char* text) noexcept {
    return text != nullptr ? text : std::string_view();
}

// The kernel tells the class of a PCI function with its event: "20000" is an Ethernet controller.
bool isNetworkFunction(udev_device* device) {
    const std::string_view text = viewOf(::udev_device_get_property_value(device, "PCI_CLASS"));
    return text.size() == 5 && text.starts_with("200");
}

}  // namespace

std::optional<HostEvent> deviceEventOf(std::string_view subsystem, std::string_view action,
                                       std::string_view path) noexcept {
    const bool isPci = subsystem == pciSubsystem;
    const bool isNet = subsystem == netSubsystem && !path.starts_with("/devices/virtual/");
    if (!isPci && !isNet) {
        return std::nullopt;
    }
    if (action == "add") {
        return HostEvent::deviceAdded;
    }
    if (action == "remove") {
        return HostEvent::deviceRemoved;
    }
    if (action == "change" || action == "move") {
        return HostEvent::deviceChanged;
    }
    if (isPci &&
        (action == "bind" || action == "unbind" || action == "online" || action == "offline")) {
        return HostEvent::deviceChanged;
    }
    return std::nullopt;
}

void CDeviceWatch::Free::operator()(udev* context) const noexcept {
    ::udev_unref(context);
}

void CDeviceWatch::Free::operator()(udev_monitor* monitor) const noexcept {
    ::udev_monitor_unref(monitor);
}

CDeviceWatch::CDeviceWatch() : udev_(::udev_new()) {
    if (udev_) {
        monitor_.reset(::udev_monitor_new_from_netlink(udev_.get(), "kernel"));
    }
    requireWatch(monitor_ ? 0 : -errno);
    for (const char* const subsystem : {pciSubsystem, netSubsystem}) {
        requireWatch(
            ::udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), subsystem, nullptr));
    }
    requireWatch(::udev_monitor_enable_receiving(monitor_.get()));
}

int CDeviceWatch::Descriptor() const noexcept {
    return ::udev_monitor_get_fd(monitor_.get());
}

void CDeviceWatch::Take(Clock::time_point now) {
    for (;;) {
        errno = 0;
        const std::unique_ptr<udev_device, FreeDevice> device(
            ::udev_monitor_receive_device(monitor_.get()));
        if (device) {
            Note(device.get(), now);
        } else if (errno == ENOBUFS) {
            // The kernel dropped events, of any kind.
            bursts_.Note(HostEvent::deviceAdded, "events lost", now);
            bursts_.Note(HostEvent::deviceRemoved, "events lost", now);
        } else {
            return;  // the queue is empty, or libudev has dropped a message that is not a device
        }
    }
}

void CDeviceWatch::Note(udev_device* device, Clock::time_point now) {
    const std::string_view subsystem = viewOf(::udev_device_get_subsystem(device));
    const auto event = deviceEventOf(subsystem, viewOf(::udev_device_get_action(device)),
                                     viewOf(::udev_device_get_devpath(device)));
    if (event) {
        const std::string_view name = viewOf(::udev_device_get_sysname(device));
        const int interfaces = event != HostEvent::deviceAdded ? 0
                               : subsystem == netSubsystem     ? -1
                               : isNetworkFunction(device)     ? 1
                                                               : 0;
        bursts_.Note(*event, std::string(subsystem) + " " + std::string(name), now, interfaces);
    }
}

}  // namespace em_pni
