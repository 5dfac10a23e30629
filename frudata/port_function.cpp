#include "frudata/port_function.h"

#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "frudata/address_text.h"

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;
using namespace std::string_view_literals;

// Texts of format version 10. The NUL is part of the comparison.
constexpr std::array technologyTexts = {
    std::pair{"NIC\0"sv, FunctionTechnology::nic},     std::pair{"FC\0"sv, FunctionTechnology::fc},
    std::pair{"FCoE\0"sv, FunctionTechnology::fcoe},   std::pair{"IB\0"sv, FunctionTechnology::ib},
    std::pair{"iSCSI\0"sv, FunctionTechnology::iscsi},
};

std::optional<MacAddress> readMac(const CPniPortFunction& function, std::size_t offset) {
    const auto mac = function.Technology() == FunctionTechnology::nic
                         ? function.AddressBytes(offset, layout::macSize)
                         : std::nullopt;
    return mac ? std::optional(MacAddress(*mac)) : std::nullopt;
}

WorldWideName readName(const CPniPortFunction& function, std::size_t offset) {
    const auto text = function.AddressBytes(offset, layout::worldwideNameSize);
    return text ? ToHex(*text).value_or(0) : 0;
}

}  // namespace

bool CPniPortFunction::HasTextTechnology() const noexcept {
    return formatVersion_ < layout::OEM_PNI_MULTIRECORD_HEADER::firstVersionWithCodes;
}

FunctionTechnology CPniPortFunction::Technology() const noexcept {
    if (HasTextTechnology()) {
        return TextTechnology();
    }
    const auto code = U8(Layout::technologyType);
    return code && *code <= static_cast<std::uint8_t>(FunctionTechnology::roce)
               ? static_cast<FunctionTechnology>(*code)
               : FunctionTechnology::unknown;
}

FunctionTechnology CPniPortFunction::TextTechnology() const noexcept {
    for (const auto& [text, technology] : technologyTexts) {
        const auto bytes = Bytes(Layout::technologyType, text.size());
        if (bytes && std::memcmp(bytes->data(), text.data(), text.size()) == 0) {
            return technology;
        }
    }
    return FunctionTechnology::unknown;
}

std::size_t CPniPortFunction::Place(std::size_t field) const noexcept {
    return HasTextTechnology() && field >= Layout::speed ? field + Layout::textTechnologyShift
                                                         : field;
}

std::optional<std::uint8_t> CPniPortFunction::U8(std::size_t field) const noexcept {
    const std::size_t place = Place(field);
    return bytes_.Has(place, 1) ? std::optional(bytes_.U8(place)) : std::nullopt;
}

std::optional<std::uint16_t> CPniPortFunction::U16(std::size_t field) const noexcept {
    const std::size_t place = Place(field);
    return bytes_.Has(place, 2) ? std::optional(bytes_.U16(place)) : std::nullopt;
}

std::optional<std::uint32_t> CPniPortFunction::U32(std::size_t field) const noexcept {
    const std::size_t place = Place(field);
    return bytes_.Has(place, 4) ? std::optional(bytes_.U32(place)) : std::nullopt;
}

std::optional<std::span<const std::uint8_t>> CPniPortFunction::Bytes(
    std::size_t field, std::size_t length) const noexcept {
    const std::size_t place = Place(field);
    return bytes_.Has(place, length) ? std::optional(bytes_.Inside(place, length)) : std::nullopt;
}

bool CPniPortFunction::HasSeparateAddresses() const noexcept {
    return bytes_.Has(Layout::addressOffset, 1) &&
           bytes_.U8(Layout::addressOffset) >= Place(Layout::commonSize);
}

std::optional<std::span<const std::uint8_t>> CPniPortFunction::AddressBytes(
    std::size_t offset, std::size_t length) const noexcept {
    if (!bytes_.Has(Layout::addressOffset, 1)) {
        return std::nullopt;
    }
    const std::size_t place = bytes_.U8(Layout::addressOffset) + offset;
    return bytes_.Has(place, length) ? std::optional(bytes_.Inside(place, length)) : std::nullopt;
}

bool hasWorldwideNames(const CPniPortFunction& function) noexcept {
    return function.Technology() == FunctionTechnology::fc &&
           function.Size() >= layout::FC_ADDRESSES::minimumFunction;
}

std::optional<PhysicalAddress> manufactureAddress(const CPniPortFunction& function,
                                                  PhysicalAddress::Kind kind) {
    using Names = layout::FC_ADDRESSES;
    PhysicalAddress address;
    address.kind = kind;
    if (kind == PhysicalAddress::Kind::mac) {
        const auto mac = readMac(function, layout::NIC_ADDRESSES::manufactureMac);
        address.mac = mac.value_or(MacAddress());
        return mac ? std::optional(address) : std::nullopt;
    }
    if (!hasWorldwideNames(function)) {
        return std::nullopt;
    }
    address.wwpn = readName(function, Names::manufactureWwpn);
    address.wwnn = readName(function, Names::manufactureWwnn);
    return address;
}

std::optional<MacAddress> activeMac(const CPniPortFunction& function) {
    return readMac(function, layout::NIC_ADDRESSES::activeMac);
}

std::optional<IpLists> ipListsOf(const CPniPortFunction& function) noexcept {
    const auto counters = function.AddressBytes(layout::NIC_ADDRESSES::ipCounters, 1);
    if (!counters) {
        return std::nullopt;
    }
    const std::size_t packed = counters->front();
    const IpLists lists{counters->front(), packed & 0x0FU, packed >> 4U};
    return function.AddressBytes(IpLists::Ipv4Begin(), lists.Bytes()) ? std::optional(lists)
                                                                      : std::nullopt;
}

}  // namespace em_pni
