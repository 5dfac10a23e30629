// What the sysfs path of a block device tells about the way to it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace em_pni {

struct DevicePath {
    std::string pciName;      // of the nearest PCI function, "0000:03:00.0" or "10000:01:00.0"
    std::string transport;    // as in Disk; "ata" for each disk behind libata; empty = NVMe or none
    std::string scsiHost;     // "host0"
    std::string scsiAddress;  // "0:2:1:0"
    std::string remotePort;   // path of a Fibre Channel port, "devices/.../rport-7:0-2"
    std::string nvme;         // name of the NVMe controller, "nvme0"
};

// `path` is below /sys: "devices/pci0000:00/.../block/sda".
DevicePath parseDevicePath(std::string_view path);

// The target of a link in a class directory, without the leading "../".
std::string_view pathBelowSys(std::string_view link) noexcept;

// A way to a namespace of several controllers, "nvme0c1n2": way of controller nvme1 to nvme0n2.
struct NvmePathName {
    std::string device;      // "nvme0n2"
    std::string controller;  // "nvme1"
};

std::optional<NvmePathName> parseNvmePathName(std::string_view name);

}  // namespace em_pni
