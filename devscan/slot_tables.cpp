#include "devscan/slot_tables.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

// Slot ids of firmware that has no id for the slot.
constexpr std::uint16_t slotIdUnset = 0;
constexpr std::uint16_t slotIdUnknown = 0xFFFF;

// A segment from here on means that firmware states no segment.
constexpr std::uint16_t firstUnstatedSegment = 0xFF00;

// Segments of a table that is shifted by one byte: the segment is really a bus number.
constexpr std::uint16_t firstShiftedBus = 0x20;
constexpr std::uint16_t lastShiftedBus = 0xE0;
constexpr std::uint8_t maxDevice = 31;

// The number behind the first `keyword` that has one: "Slot 4", "Slot4", "PCIE_4".
std::optional<std::uint32_t> numberBehind(std::string_view text,
                                          std::string_view keyword) noexcept {
    constexpr std::string_view digitCharacters = "0123456789";
    constexpr std::uint32_t maxNumber = 9999;
    for (; text.size() >= keyword.size(); text.remove_prefix(1)) {
        if (!equalIgnoringCase(text.substr(0, keyword.size()), keyword)) {
            continue;
        }
        std::string_view rest = text.substr(keyword.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(" _#-"), rest.size()));
        const std::string_view digits =
            rest.substr(0, std::min(rest.find_first_not_of(digitCharacters), rest.size()));
        rest.remove_prefix(digits.size());
        // "PCIe 3.0" is a version, "PCIe 16x" a width.
        const bool isOther =
            !rest.empty() && (rest.front() == '.' || rest.front() == 'x' || rest.front() == 'X');
        if (const auto number = parseDecimal(digits, maxNumber); number && !isOther) {
            return static_cast<std::uint32_t>(*number);
        }
    }
    return std::nullopt;
}

bool sameBus(const PciAddress& left, const PciAddress& right) noexcept {
    return left.segment == right.segment && left.bus == right.bus;
}

}  // namespace

bool isUsableSlot(std::uint32_t number) noexcept {
    constexpr std::uint32_t recordMask = 0x3F;
    return number != unknownSlot && (number & recordMask) != 0;
}

const char* nameOf(SlotSource source) noexcept {
    constexpr std::array names = {
        "",       "smbios-onboard", "smbios-slot", "routing-table", "onboard-index", "acpi-number",
        "bridge", "kernel-slot",    "root-bus",    "list"};
    return names.at(static_cast<std::size_t>(source));
}

std::optional<std::uint32_t> printedSlotNumber(std::string_view designation) noexcept {
    for (const std::string_view local : {"riser", "cpu", "chassis"}) {
        if (containsIgnoringCase(designation, local)) {
            return std::nullopt;
        }
    }
    for (const std::string_view keyword : {"slot", "pcie", "pci-e"}) {
        if (const auto number = numberBehind(designation, keyword)) {
            return number;
        }
    }
    return std::nullopt;
}

CSlotResolver::CSlotResolver(MachinePlaces places) : places_(std::move(places)) {
    UndoShift();
    IgnoreSegments();
    NumberSlots();
}

// Some firmware writes the address one byte too far to the front: 0040:03:00.1 for 0000:40:03.1.
void CSlotResolver::UndoShift() {
    bool isShifted = false;
    for (const SmbiosSlot& slot : places_.tables.slots) {
        for (const PciAddress& address : slot.addresses) {
            if (address.device != 0 || address.function == 0 || address.bus > maxDevice ||
                address.segment > lastShiftedBus) {
                return;
            }
            isShifted |=
                address.segment >= firstShiftedBus && places_.segments.count(address.segment) == 0;
        }
    }
    if (!isShifted) {
        return;
    }
    for (SmbiosSlot& slot : places_.tables.slots) {
        for (PciAddress& address : slot.addresses) {
            address = {0, static_cast<std::uint8_t>(address.segment), address.bus,
                       address.function};
        }
    }
}

void CSlotResolver::IgnoreSegments() {
    if (places_.segments.size() != 1) {
        return;
    }
    const auto correct = [this](PciAddress& address) {
        if (address.segment >= firstUnstatedSegment) {
            address.segment = *places_.segments.begin();
        }
    };
    std::for_each(places_.tables.onboard.begin(), places_.tables.onboard.end(), correct);
    for (SmbiosSlot& slot : places_.tables.slots) {
        std::for_each(slot.addresses.begin(), slot.addresses.end(), correct);
    }
}

void CSlotResolver::NumberSlots() {
    const auto& slots = places_.tables.slots;
    for (const SmbiosSlot& slot : slots) {
        const bool isShared =
            slot.inUse && std::any_of(slots.begin(), slots.end(), [&slot](const SmbiosSlot& other) {
                return other.inUse && other.id == slot.id && other.designation != slot.designation;
            });
        std::uint32_t number = slot.id;
        if (isShared || slot.id == slotIdUnset || slot.id == slotIdUnknown) {
            number = printedSlotNumber(slot.designation).value_or(unknownSlot);
        }
        for (const PciAddress& address : slot.addresses) {
            slots_.push_back({address, &slot, isUsableSlot(number) ? number : unknownSlot});
        }
    }
}

SlotAnswer CSlotResolver::Resolve(const PciFunction& function) const {
    const PciAddress& address = function.address;
    if (IsOnboard(address)) {
        return {0, SlotSource::smbiosOnboard, ""};
    }
    const Match widest = function.ariEnabled ? Match::bus : Match::device;
    if (SlotAnswer answer = FindSlot(address, widest, SlotSource::smbiosSlot);
        answer.number != unknownSlot) {
        return answer;
    }
    if (const auto routed = Routed(address); routed && (*routed == 0 || isUsableSlot(*routed))) {
        return {*routed, SlotSource::routingTable, ""};
    }
    if (function.hasOnboardIndex) {
        return {0, SlotSource::onboardIndex, ""};
    }
    if (isUsableSlot(function.acpiNumber)) {
        return {function.acpiNumber, SlotSource::acpiNumber, ""};
    }
    std::uint8_t secondaryBus = address.bus;
    for (const PciBridge& bridge : function.bridges) {
        if (SlotAnswer answer = FindBridge(bridge, secondaryBus); answer.number != unknownSlot) {
            return answer;
        }
        secondaryBus = bridge.address.bus;
    }
    if (SlotAnswer answer = FindKernelSlot(function); answer.number != unknownSlot) {
        return answer;
    }
    return function.onRootBus ? SlotAnswer{0, SlotSource::rootBus, ""} : SlotAnswer();
}

// Structures that name several functions of one device speak of these functions only.
bool CSlotResolver::IsOnboard(const PciAddress& address) const {
    const PciAddress* named = nullptr;
    bool hasSeveral = false;
    for (const PciAddress& onboard : places_.tables.onboard) {
        if (onboard == address) {
            return true;
        }
        if (onboard.SameDevice(address)) {
            hasSeveral |= named != nullptr && *named != onboard;
            named = &onboard;
        }
    }
    return named != nullptr && !hasSeveral;
}

// Structures of slots in use go before all others, and among these the exact function goes before
// the device. Different numbers at one place are no answer.
SlotAnswer CSlotResolver::FindSlot(const PciAddress& address, Match widest,
                                   SlotSource source) const {
    const auto matches = [&address](const Place& place, Match match) {
        return match == Match::bus      ? sameBus(place.address, address)
               : match == Match::device ? place.address.SameDevice(address)
                                        : place.address == address;
    };
    for (const bool inUse : {true, false}) {
        for (const Match match : {Match::function, Match::device, Match::bus}) {
            // With alternative routing, device and function numbers of a card are one number.
            if (match > widest || (widest == Match::bus && match != Match::bus)) {
                continue;
            }
            SlotAnswer answer;
            for (const Place& place : slots_) {
                if (place.slot->inUse != inUse || place.number == unknownSlot ||
                    !matches(place, match)) {
                    continue;
                }
                if (answer.number != unknownSlot && answer.number != place.number) {
                    return {};
                }
                answer = {place.number, source, place.slot->designation};
            }
            if (answer.number != unknownSlot) {
                return answer;
            }
        }
    }
    return {};
}

// Structures name a port either by its own address, or by the bus behind it together with the
// device and function of the port itself.
SlotAnswer CSlotResolver::FindBridge(const PciBridge& bridge, std::uint8_t secondaryBus) const {
    PciAddress behind = bridge.address;
    behind.bus = secondaryBus;
    for (const PciAddress& place : {bridge.address, behind}) {
        if (SlotAnswer answer = FindSlot(place, Match::function, SlotSource::bridge);
            answer.number != unknownSlot) {
            return answer;
        }
    }
    if (isUsableSlot(bridge.acpiNumber)) {
        return {bridge.acpiNumber, SlotSource::bridge, ""};
    }
    // That a bridge is onboard says nothing about the card behind it.
    if (const auto routed = Routed(bridge.address); routed && isUsableSlot(*routed)) {
        return {*routed, SlotSource::bridge, ""};
    }
    return {};
}

std::optional<std::uint32_t> CSlotResolver::Routed(const PciAddress& address) const {
    const auto& routing = places_.tables.routing;
    const auto found =
        std::find_if(routing.begin(), routing.end(), [&address](const RoutedDevice& routed) {
            return address.segment == 0 && routed.bus == address.bus &&
                   routed.device == address.device;
        });
    return found == routing.end() ? std::nullopt : std::optional<std::uint32_t>(found->slot);
}

SlotAnswer CSlotResolver::FindKernelSlot(const PciFunction& function) const {
    const Match own = function.ariEnabled ? Match::bus : Match::device;
    std::uint32_t number = KernelSlotAt(function.address, own);
    for (const PciBridge& bridge : function.bridges) {
        if (isUsableSlot(number)) {
            break;
        }
        if (IsOnlyBridge(bridge.address)) {
            number = KernelSlotAt(bridge.address, Match::device);
        }
    }
    return isUsableSlot(number) ? SlotAnswer{number, SlotSource::kernelSlot, ""} : SlotAnswer();
}

std::uint32_t CSlotResolver::KernelSlotAt(const PciAddress& address, Match match) const {
    std::uint32_t number = unknownSlot;
    for (const KernelSlot& slot : places_.kernelSlots) {
        const bool isHere = match == Match::bus || slot.isWholeBus ? sameBus(slot.place, address)
                                                                   : slot.place.SameDevice(address);
        if (!isHere || !isUsableSlot(slot.number)) {
            continue;
        }
        if (number != unknownSlot && number != slot.number) {
            return unknownSlot;
        }
        number = slot.number;
    }
    return number;
}

// A kernel slot names a device. Sibling ports of one device are different slots.
bool CSlotResolver::IsOnlyBridge(const PciAddress& bridge) const {
    return std::count_if(places_.bridges.begin(), places_.bridges.end(),
                         [&bridge](const PciAddress& other) { return other.SameDevice(bridge); }) ==
           1;
}

}  // namespace em_pni
