#include "frudata/port_function.h"

#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;
using namespace std::string_view_literals;

// Texts of format version 10; the NUL is part of the comparison.
constexpr std::array technologyTexts = {
    std::pair{"NIC\0"sv, FunctionTechnology::nic},     std::pair{"FC\0"sv, FunctionTechnology::fc},
    std::pair{"FCoE\0"sv, FunctionTechnology::fcoe},   std::pair{"IB\0"sv, FunctionTechnology::ib},
    std::pair{"iSCSI\0"sv, FunctionTechnology::iscsi},
};

}  // namespace

FunctionTechnology CPniPortFunction::Technology() const noexcept {
    if (formatVersion_ < 11) {
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
    return formatVersion_ < 11 && field >= Layout::speed ? field + Layout::textTechnologyShift
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
           bytes_.U8(Layout::addressOffset) >= Place(Layout::speed);
}

std::optional<std::span<const std::uint8_t>> CPniPortFunction::AddressBytes(
    std::size_t offset, std::size_t length) const noexcept {
    if (!bytes_.Has(Layout::addressOffset, 1)) {
        return std::nullopt;
    }
    const std::size_t place = bytes_.U8(Layout::addressOffset) + offset;
    return bytes_.Has(place, length) ? std::optional(bytes_.Inside(place, length)) : std::nullopt;
}

}  // namespace em_pni
