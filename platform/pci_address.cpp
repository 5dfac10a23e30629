#include "platform/pci_address.h"

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

constexpr std::uint64_t maxDevice = 31;
constexpr std::uint64_t maxFunction = 7;
constexpr std::uint32_t maxSegment = 0xFFFF;

struct WideAddress {
    std::uint32_t segment;
    PciAddress rest;  // ignore its segment when the wide one is above maxSegment
};

std::optional<WideAddress> parseWide(std::string_view text) noexcept {
    const auto segment = parseHexAs<std::uint32_t>(takeUntil(text, ':'));
    const auto bus = parseHexAs<std::uint8_t>(takeUntil(text, ':'));
    const auto device = parseHex(takeUntil(text, '.'), maxDevice);
    const auto function = parseHex(text, maxFunction);
    if (!segment || !bus || !device || !function) {
        return std::nullopt;
    }
    return WideAddress{*segment,
                       {static_cast<std::uint16_t>(*segment & maxSegment), *bus,
                        static_cast<std::uint8_t>(*device), static_cast<std::uint8_t>(*function)}};
}

std::optional<PciAddress> narrowed(const std::optional<WideAddress>& wide) noexcept {
    return wide && wide->segment <= maxSegment ? std::optional(wide->rest) : std::nullopt;
}

// Removes the last component that is an address, and all behind it, from the end of `path`.
std::optional<WideAddress> takeLastAddress(std::string_view& path) noexcept {
    while (!path.empty()) {
        const std::size_t slash = path.rfind('/');
        const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
        const auto address = parseWide(path.substr(start));
        path = path.substr(0, start == 0 ? 0 : slash);
        if (address) {
            return address;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<PciAddress> parsePciAddress(std::string_view text) noexcept {
    return narrowed(parseWide(text));
}

std::string pciAddressText(const PciAddress& address) {
    return lowerHex(address.segment, 4) + ":" + lowerHex(address.bus, 2) + ":" +
           lowerHex(address.device, 2) + "." + std::to_string(address.function);
}

std::optional<PciAddress> pciAddressOfPath(std::string_view path) noexcept {
    return narrowed(takeLastAddress(path));
}

std::vector<PciAddress> pciBridgesOfPath(std::string_view path) {
    std::vector<PciAddress> bridges;
    takeLastAddress(path);  // the function itself
    while (const auto bridge = narrowed(takeLastAddress(path))) {
        bridges.push_back(*bridge);
    }
    return bridges;
}

}  // namespace em_pni
