#include "devscan/class_devices.h"

#include "platform/trace.h"

namespace em_pni {

std::optional<ClassDevices> listClassDevices(const CFileTree& files, const std::string& directory) {
    const auto folder = files.OpenFolder(directory);
    const auto names = folder ? folder->List() : std::nullopt;
    if (!names) {
        return std::nullopt;
    }
    ClassDevices devices;
    for (const std::string& name : *names) {
        const auto link = folder->ReadLink(name);
        const auto function = link ? pciAddressOfPath(*link) : std::nullopt;
        if (function) {
            devices[*function].push_back({name, *link});
        }
    }
    return devices;
}

bool isStill(const CFileTree& files, const std::string& directory, const ClassDevice& device) {
    const bool still = files.ReadLink(joinedPath({directory, device.name})) == device.link;
    if (!still) {
        PNI_TRACE(3, "\nCSystemAdapter      : %s vanished during the scan", device.name.c_str());
    }
    return still;
}

}  // namespace em_pni
