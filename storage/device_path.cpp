#include "storage/device_path.h"

#include <algorithm>
#include <array>

#include "platform/pci_address.h"
#include "platform/text.h"

namespace em_pni {
namespace {

bool isDigits(std::string_view text) noexcept {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isNumbered(std::string_view name, std::string_view prefix) noexcept {
    return name.starts_with(prefix) && isDigits(name.substr(prefix.size()));
}

// Also true for a segment above 0xFFFF, which PciAddress cannot hold.
bool isPciName(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon != std::string_view::npos && colon >= 4 &&
           name.substr(0, colon).find_first_not_of("0123456789abcdef") == std::string_view::npos &&
           parsePciAddress("0" + std::string(name.substr(colon))).has_value();
}

bool isScsiAddress(std::string_view name) noexcept {
    for (int i = 0; i < 3; ++i) {
        if (!isDigits(takeUntil(name, ':'))) {
            return false;
        }
    }
    return isDigits(name);
}

// The transport that a component of a path stands for; empty for most.
std::string_view transportOf(std::string_view component) noexcept {
    struct Rule {
        std::string_view prefix;
        std::string_view transport;
        bool isNumber;  // only digits follow
    };
    constexpr std::array<Rule, 7> rules{{{"ata", "ata", true},
                                         {"usb", "usb", true},
                                         {"virtio", "virtio", true},
                                         {"mmc", "mmc", true},
                                         {"session", "iscsi", true},
                                         {"end_device-", "sas", false},
                                         {"rport-", "fc", false}}};
    for (const Rule& rule : rules) {
        if (rule.isNumber ? isNumbered(component, rule.prefix)
                          : component.starts_with(rule.prefix)) {
            return rule.transport;
        }
    }
    return {};
}

}  // namespace

DevicePath parseDevicePath(std::string_view path) {
    DevicePath found;
    std::string_view rest = path;
    while (!rest.empty()) {
        const std::string_view component = takeUntil(rest, '/');
        if (component == "block") {
            break;
        }
        if (const std::string_view transport = transportOf(component); !transport.empty()) {
            found.transport = transport;
        }
        if (isPciName(component)) {
            found.pciName = component;
        } else if (isNumbered(component, "host")) {
            found.scsiHost = component;
        } else if (isNumbered(component, "nvme")) {
            found.nvme = component;
        } else if (component.starts_with("rport-")) {
            const std::string_view before = path.substr(0, path.size() - rest.size());
            found.remotePort = before.substr(0, before.size() - (before.ends_with('/') ? 1 : 0));
        } else if (isScsiAddress(component)) {
            found.scsiAddress = component;
        }
    }
    return found;
}

std::string_view pathBelowSys(std::string_view link) noexcept {
    while (link.starts_with("../")) {
        link.remove_prefix(3);
    }
    return link;
}

std::optional<NvmePathName> parseNvmePathName(std::string_view name) {
    constexpr std::string_view prefix = "nvme";
    if (!name.starts_with(prefix)) {
        return std::nullopt;
    }
    name.remove_prefix(prefix.size());
    const std::string_view subsystem = takeUntil(name, 'c');
    const std::string_view controller = takeUntil(name, 'n');
    if (!isDigits(subsystem) || !isDigits(controller) || !isDigits(name)) {
        return std::nullopt;
    }
    return NvmePathName{"nvme" + std::string(subsystem) + "n" + std::string(name),
                        "nvme" + std::string(controller)};
}

}  // namespace em_pni
