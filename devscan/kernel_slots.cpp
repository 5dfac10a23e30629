#include "devscan/kernel_slots.h"

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

std::optional<std::uint32_t> leadingNumber(std::string_view name) noexcept {
    const std::string_view digits = name.substr(0, name.find_first_not_of("0123456789"));
    const auto number = parseDecimal(digits, unknownSlot - 1);
    return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

// "dddd:bb:dd", or "dddd:bb" for a whole bus.
std::optional<KernelSlot> parsePlace(std::string_view text) noexcept {
    constexpr std::uint8_t maxDevice = 31;
    const auto segment = parseHexAs<std::uint16_t>(takeUntil(text, ':'));
    const auto bus = parseHexAs<std::uint8_t>(takeUntil(text, ':'));
    const bool isWholeBus = text.empty();
    const auto device = isWholeBus ? std::uint8_t{0} : parseHexAs<std::uint8_t>(text);
    if (!segment || !bus || !device || *device > maxDevice) {
        return std::nullopt;
    }
    return KernelSlot{0, {*segment, *bus, *device, 0}, isWholeBus};
}

}  // namespace

std::optional<std::vector<KernelSlot>> readKernelSlots(const CFileTree& files) {
    std::vector<KernelSlot> slots;
    errno = 0;
    const auto folder = files.OpenFolder("sys/bus/pci/slots");
    const auto names = folder ? folder->List() : std::nullopt;
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
        const auto number = leadingNumber(name);
        const auto text = number ? folder->ReadAttribute(name + "/address") : std::nullopt;
        if (auto slot = text ? parsePlace(*text) : std::nullopt) {
            slot->number = *number;
            slots.push_back(*slot);
        } else if (number && !text && isOutOfResources(errno)) {
            return std::nullopt;
        }
    }
    return names || !isOutOfResources(errno) ? std::optional(std::move(slots)) : std::nullopt;
}

}  // namespace em_pni
