// The members of an answer that a result filter can select.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace em_pni {

// The order is that of the names in member_names.cpp.
enum class Member : std::uint8_t {
    ModuleId,
    Enabled,
    TechnologyType,
    ModuleType,
    ModuleName,
    FirmwareVersion,
    PortId,
    WolBehavior,
    PhyFunctionId,
    BootOptionId,
    Bandwidth,
    RateLimit,
    Speed,
    SpeedUnit,
    VlanId,
    VendorId,
    DeviceId,
    SubVendorId,
    SubDeviceId,
    PciSegment,
    PciBus,
    PciDevice,
    PciFunction,
    BootStatus,
    UefiSupport,
    RemoteDeploySupport,
    BootName,
    Address,
    Ipv4Addresses,
    Ipv6Addresses,
    ManufactureWWNN,
    ManufactureWWPN,
    ActiveWWNN,
    ActiveWWPN,
    InitiatorName,
    ManufactureGUID,
    ActiveGUID,
    ManufactureMAC,
    ActiveMAC,
    OPROMversion,
};

inline constexpr std::size_t memberCount = 40;

// The name in the JSON answer. The text is static and NUL-terminated.
std::string_view memberName(Member member) noexcept;

// The case of `name` does not matter.
std::optional<Member> findMemberByName(std::string_view name) noexcept;

// The members that an answer shall have. An empty selection selects all members.
class CMemberSelection {
  public:
    void Add(Member member) noexcept { members_.set(static_cast<std::size_t>(member)); }
    void Clear() noexcept { members_.reset(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return members_.none(); }
    [[nodiscard]] bool IsListed(Member member) const noexcept {
        return members_.test(static_cast<std::size_t>(member));
    }
    [[nodiscard]] bool Selects(Member member) const noexcept {
        return IsEmpty() || IsListed(member);
    }

  private:
    std::bitset<memberCount> members_;
};

}  // namespace em_pni
