#include "query/member_names.h"

#include "platform/text.h"

namespace em_pni {
namespace {

constexpr std::array<std::string_view, memberCount> names = {
    "ModuleId",        "Enabled",
    "TechnologyType",  "ModuleType",
    "ModuleName",      "FirmwareVersion",
    "PortId",          "WolBehavior",
    "PhyFunctionId",   "BootOptionId",
    "Bandwidth",       "RateLimit",
    "Speed",           "SpeedUnit",
    "VlanId",          "VendorId",
    "DeviceId",        "SubVendorId",
    "SubDeviceId",     "PciSegment",
    "PciBus",          "PciDevice",
    "PciFunction",     "BootStatus",
    "UefiSupport",     "RemoteDeploySupport",
    "BootName",        "Address",
    "Ipv4Addresses",   "Ipv6Addresses",
    "ManufactureWWNN", "ManufactureWWPN",
    "ActiveWWNN",      "ActiveWWPN",
    "InitiatorName",   "ManufactureGUID",
    "ActiveGUID",      "ManufactureMAC",
    "ActiveMAC",       "OPROMversion",
};
static_assert(names[static_cast<std::size_t>(Member::OPROMversion)] == "OPROMversion");

}  // namespace

std::string_view memberName(Member member) noexcept {
    return names[static_cast<std::size_t>(member)];
}

std::optional<Member> findMemberByName(std::string_view name) noexcept {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (equalIgnoringCase(names[i], name)) {
            return static_cast<Member>(i);
        }
    }
    return std::nullopt;
}

}  // namespace em_pni
