#include "devscan/fc_hosts.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "devscan/hardware_address.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

constexpr const char* fcDirectory = "sys/class/fc_host";

// The number in "host12". Returns the largest number when there is none.
std::uint64_t hostNumber(const ClassDevice& host) noexcept {
    constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();
    const std::size_t digit = std::min(host.name.find_first_of("0123456789"), host.name.size());
    return parseDecimal(std::string_view(host.name).substr(digit), none).value_or(none);
}

// Returns 0 when the attribute holds no name.
WorldWideName nameIn(const CFileTree& files, const std::string& path) {
    const auto text = files.ReadAttribute(path);
    return text ? parseWorldWideName(*text).value_or(0) : 0;
}

// Drivers use different attributes of scsi_host, and fc_host has one of its own. Returns the first
// text that is a version.
std::string firstVersion(const CFileTree& files, const std::string& host,
                         std::initializer_list<const char*> scsiAttributes,
                         const char* fcAttribute) {
    const auto read = [&files, &host](const char* directory, const char* attribute) {
        const auto raw = files.ReadAttribute(joinedPath({directory, host, attribute}));
        return raw ? versionText(printableText(*raw)) : std::string();
    };
    for (const char* const attribute : scsiAttributes) {
        if (std::string text = read("sys/class/scsi_host", attribute); !text.empty()) {
            return text;
        }
    }
    return read(fcDirectory, fcAttribute);
}

}  // namespace

ClassDevices listFcHosts(const CFileTree& files) {
    ClassDevices devices = listClassDevices(files, fcDirectory).value_or(ClassDevices());
    for (auto& [function, hosts] : devices) {
        std::erase_if(hosts, [](const ClassDevice& host) {
            return host.link.find("/vport-") != std::string::npos ||
                   host.link.find("/net/") != std::string::npos;
        });
        // A function has one or two hosts.
        const auto isBefore = [](const ClassDevice& left, const ClassDevice& right) {
            return hostNumber(left) < hostNumber(right);
        };
        for (auto host = hosts.begin(); host != hosts.end(); ++host) {
            std::iter_swap(host, std::min_element(host, hosts.end(), isBefore));
        }
    }
    return devices;
}

void addFcHostFacts(const CFileTree& files, const std::vector<ClassDevice>& hosts,
                    AdapterFacts& facts) {
    for (const ClassDevice& host : hosts) {
        const std::string directory = joinedPath({fcDirectory, host.name});
        const WorldWideName nodeName = nameIn(files, directory + "/node_name");
        const WorldWideName portName = nameIn(files, directory + "/port_name");
        std::string optionRom = firstVersion(
            files, host.name, {"optrom_bios_version", "optrom_efi_version", "option_rom_version"},
            "optionrom_version");
        std::string firmware =
            firstVersion(files, host.name, {"fw_version", "fwrev"}, "firmware_version");
        if (!isStill(files, fcDirectory, host)) {
            continue;
        }
        facts.nodeName = nodeName;
        facts.portName = portName;
        if (!optionRom.empty()) {
            facts.optionRom = std::move(optionRom);
        }
        if (!firmware.empty()) {
            facts.firmware = std::move(firmware);
        }
        return;
    }
}

}  // namespace em_pni
