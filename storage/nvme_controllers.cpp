#include "storage/nvme_controllers.h"

#include <string>
#include <string_view>

#include "devscan/fc_hosts.h"
#include "devscan/hardware_address.h"
#include "platform/text.h"
#include "storage/attributes.h"
#include "storage/device_path.h"

namespace em_pni {
namespace {

constexpr const char* nvmeDirectory = "sys/class/nvme";

// The port name behind `key` in
// "traddr=nn-0x20000000c9a1b2c3:pn-0x10000000c9a1b2c3,host_traddr=...".
WorldWideName portNameIn(std::string_view address, std::string_view key) {
    while (!address.empty()) {
        const std::string_view part = takeUntil(address, ',');
        const std::size_t name = part.find(":pn-");
        if (part.starts_with(key) && name != std::string_view::npos) {
            return parseWorldWideName(part.substr(name + 4)).value_or(0);
        }
    }
    return 0;
}

// The PCI function of the Fibre Channel host with this port name; empty when there is none.
std::string pciNameOfPort(const CFileTree& files, WorldWideName port) {
    for (const auto& [function, hosts] : listFcHosts(files)) {
        for (const ClassDevice& host : hosts) {
            const auto name =
                files.ReadAttribute(joinedPath({"sys/class/fc_host", host.name, "port_name"}));
            if (name && parseWorldWideName(*name) == port) {
                return pciAddressText(function);
            }
        }
    }
    return {};
}

}  // namespace

std::vector<NvmeController> readNvmeControllers(const CFileTree& files) {
    std::vector<NvmeController> controllers;
    const auto directory = files.OpenFolder(nvmeDirectory);
    for (const std::string& name :
         (directory ? directory->List() : std::nullopt).value_or(std::vector<std::string>())) {
        const auto link = directory->ReadLink(name);
        const auto folder = files.OpenFolder(joinedPath({nvmeDirectory, name}));
        if (!link || !folder) {
            continue;
        }
        NvmeController& one = controllers.emplace_back();
        one.name = name;
        one.transport = identityText(*folder, "transport");
        one.address = identityText(*folder, "address");
        one.state = identityText(*folder, "state");
        one.subsystem = identityText(*folder, "subsysnqn");
        one.model = identityText(*folder, "model");
        one.serial = identityText(*folder, "serial");
        one.firmware = identityText(*folder, "firmware_rev");
        one.targetPort = portNameIn(one.address, "traddr=");
        const WorldWideName ownPort = portNameIn(one.address, "host_traddr=");
        one.pciName = ownPort != 0 ? pciNameOfPort(files, ownPort)
                                   : parseDevicePath(pathBelowSys(*link)).pciName;
    }
    return controllers;
}

}  // namespace em_pni
