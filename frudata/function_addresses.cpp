#include "frudata/function_addresses.h"

#include "frudata/layout.h"
#include "frudata/worldwide_name.h"

namespace em_pni {
namespace {

std::optional<MacAddress> readMac(const CPniPortFunction& function, std::size_t offset) {
    const auto mac = function.Technology() == FunctionTechnology::nic
                         ? function.AddressBytes(offset, layout::macSize)
                         : std::nullopt;
    return mac ? std::optional(MacAddress(*mac)) : std::nullopt;
}

std::uint64_t readName(const CPniPortFunction& function, std::size_t offset) {
    const auto text = function.AddressBytes(offset, layout::worldwideNameSize);
    return text ? ToHex(*text).value_or(0) : 0;
}

}  // namespace

std::optional<MacAddress> manufactureMac(const CPniPortFunction& function) {
    return readMac(function, layout::NIC_ADDRESSES::manufactureMac);
}

std::optional<MacAddress> activeMac(const CPniPortFunction& function) {
    return readMac(function, layout::NIC_ADDRESSES::activeMac);
}

std::optional<PhysicalAddress> manufactureNames(const CPniPortFunction& function) {
    using Names = layout::FC_ADDRESSES;
    if (function.Technology() != FunctionTechnology::fc ||
        function.Size() < Names::minimumFunction) {
        return std::nullopt;
    }
    return PhysicalAddress{.kind = PhysicalAddress::Kind::wwn,
                           .mac = MacAddress(),
                           .wwpn = readName(function, Names::manufactureWwpn),
                           .wwnn = readName(function, Names::manufactureWwnn)};
}

}  // namespace em_pni
