#include "devscan/slot_tables.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

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

constexpr PciAddress shiftedBack(const PciAddress& address) noexcept {
    return {0, static_cast<std::uint8_t>(address.segment), address.bus, address.function};
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

CSlotResolver::CSlotResolver(const SlotTables& tables, const std::vector<PciFunction>& functions,
                             CISlotFacts& facts)
    : tables_(tables), facts_(facts) {
    for (const PciFunction& function : functions) {
        functions_.push_back(function.address);
        segments_.insert(function.address.segment);
        if (isBridge(function.classCode)) {
            bridges_.push_back(function.address);
        }
    }
    for (const PciAddress& address : tables.onboard) {
        onboard_.push_back(WithSegment(address));
    }
    AddPlaces();
}

void CSlotResolver::AddPlaces() {
    std::map<std::uint16_t, std::string_view> designations;  // of slots in use, by id
    std::set<std::uint16_t> sharedIds;
    for (const SmbiosSlot& slot : tables_.slots) {
        if (slot.inUse &&
            designations.try_emplace(slot.id, slot.designation).first->second != slot.designation) {
            sharedIds.insert(slot.id);
        }
    }
    const bool isShifted = IsShifted();
    for (const SmbiosSlot& slot : tables_.slots) {
        const bool isShared = slot.inUse && sharedIds.count(slot.id) != 0;
        std::uint32_t number = slot.id;
        if (isShared || slot.id == slotIdUnset || slot.id == slotIdUnknown) {
            number = printedSlotNumber(slot.designation).value_or(unknownSlot);
        }
        if (!isUsableSlot(number)) {
            continue;
        }
        for (const PciAddress& address : slot.addresses) {
            places_.emplace(WithSegment(isShifted ? shiftedBack(address) : address),
                            Place{&slot, number});
        }
    }
}

// Some firmware writes the address one byte too far to the front: 0040:03:00.1 for 0000:40:03.1.
bool CSlotResolver::IsShifted() const {
    bool isShifted = false;
    for (const SmbiosSlot& slot : tables_.slots) {
        for (const PciAddress& address : slot.addresses) {
            if (address.device != 0 || address.function == 0 || address.bus > maxDevice ||
                address.segment > lastShiftedBus) {
                return false;
            }
            isShifted |=
                address.segment >= firstShiftedBus && segments_.count(address.segment) == 0;
        }
    }
    return isShifted;
}

// Firmware that states no segment means the only one.
PciAddress CSlotResolver::WithSegment(PciAddress address) const {
    if (address.segment >= firstUnstatedSegment && segments_.size() == 1) {
        address.segment = *segments_.begin();
    }
    return address;
}

SlotAnswer CSlotResolver::Resolve(const PciFunction& function) const {
    const PciAddress& address = function.address;
    if (IsOnboard(address)) {
        return {0, SlotSource::smbiosOnboard, ""};
    }
    if (SlotAnswer answer = FindCard(address); answer.number != unknownSlot) {
        return answer;
    }
    if (const auto routed = Routed(address); routed && (*routed == 0 || isUsableSlot(*routed))) {
        return {*routed, SlotSource::routingTable, ""};
    }
    if (facts_.HasOnboardIndex(address)) {
        return {0, SlotSource::onboardIndex, ""};
    }
    if (const std::uint32_t number = facts_.AcpiNumber(address); isUsableSlot(number)) {
        return {number, SlotSource::acpiNumber, ""};
    }
    std::uint8_t secondaryBus = address.bus;
    for (const PciAddress& bridge : function.bridges) {
        if (SlotAnswer answer = FindBridge(bridge, secondaryBus); answer.number != unknownSlot) {
            return answer;
        }
        secondaryBus = bridge.bus;
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
    for (const PciAddress& onboard : onboard_) {
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

bool CSlotResolver::Matches(const PciAddress& left, const PciAddress& right, Match match) noexcept {
    return match == Match::function ? left == right
                                    : left.segment == right.segment && left.bus == right.bus &&
                                          (match == Match::bus || left.device == right.device);
}

// Structures of slots in use go before all others, and among these the narrow matches before the
// wide ones. Different numbers at one place are no answer.
SlotAnswer CSlotResolver::FindSlot(const PciAddress& address,
                                   std::initializer_list<Match> narrowFirst,
                                   SlotSource source) const {
    const auto first = places_.lower_bound({address.segment, address.bus, 0, 0});
    for (const bool inUse : {true, false}) {
        for (const Match match : narrowFirst) {
            SlotAnswer answer;
            for (auto place = first;
                 place != places_.end() && Matches(place->first, address, Match::bus); ++place) {
                const auto& [slot, number] = place->second;
                if (slot->inUse != inUse || !Matches(place->first, address, match)) {
                    continue;
                }
                if (answer.number != unknownSlot && answer.number != number) {
                    return {};
                }
                answer = {number, source, slot->designation};
            }
            if (answer.number != unknownSlot) {
                return answer;
            }
        }
    }
    return {};
}

// With alternative routing, device and function numbers of a card are one number.
SlotAnswer CSlotResolver::FindCard(const PciAddress& address) const {
    SlotAnswer answer = FindSlot(address, {Match::function, Match::device}, SlotSource::smbiosSlot);
    SlotAnswer ofBus = FindSlot(address, {Match::bus}, SlotSource::smbiosSlot);
    return answer.number != ofBus.number && facts_.IsAri(address) ? ofBus : answer;
}

// Structures name a port either by its own address, or by the bus behind it together with the
// device and function of the port itself. Nothing must be at that address.
SlotAnswer CSlotResolver::FindBridge(const PciAddress& bridge, std::uint8_t secondaryBus) const {
    SlotAnswer answer = FindSlot(bridge, {Match::function}, SlotSource::bridge);
    const PciAddress behind = {bridge.segment, secondaryBus, bridge.device, bridge.function};
    if (answer.number == unknownSlot &&
        !std::binary_search(functions_.begin(), functions_.end(), behind)) {
        answer = FindSlot(behind, {Match::function}, SlotSource::bridge);
    }
    if (answer.number != unknownSlot) {
        return answer;
    }
    if (const std::uint32_t number = facts_.AcpiNumber(bridge); isUsableSlot(number)) {
        return {number, SlotSource::bridge, ""};
    }
    // That a bridge is onboard says nothing about the card behind it.
    if (const auto routed = Routed(bridge); routed && isUsableSlot(*routed)) {
        return {*routed, SlotSource::bridge, ""};
    }
    return {};
}

std::optional<std::uint32_t> CSlotResolver::Routed(const PciAddress& address) const {
    const auto& routing = tables_.routing;
    const auto found =
        std::find_if(routing.begin(), routing.end(), [&address](const RoutedDevice& routed) {
            return address.segment == 0 && routed.bus == address.bus &&
                   routed.device == address.device;
        });
    return found == routing.end() ? std::nullopt : std::optional<std::uint32_t>(found->slot);
}

SlotAnswer CSlotResolver::FindKernelSlot(const PciFunction& function) const {
    std::uint32_t number = KernelSlotAt(function.address, Match::device);
    const std::uint32_t ofBus = KernelSlotAt(function.address, Match::bus);
    if (number != ofBus && facts_.IsAri(function.address)) {
        number = ofBus;
    }
    for (const PciAddress& bridge : function.bridges) {
        if (number != unknownSlot) {
            break;
        }
        if (IsOnlyBridge(bridge)) {
            number = KernelSlotAt(bridge, Match::device);
        }
    }
    return number != unknownSlot ? SlotAnswer{number, SlotSource::kernelSlot, ""} : SlotAnswer();
}

std::uint32_t CSlotResolver::KernelSlotAt(const PciAddress& address, Match match) const {
    std::uint32_t number = unknownSlot;
    for (const KernelSlot& slot : facts_.KernelSlots()) {
        if (!isUsableSlot(slot.number) ||
            !Matches(slot.place, address, slot.isWholeBus ? Match::bus : match)) {
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
    return std::count_if(bridges_.begin(), bridges_.end(), [&bridge](const PciAddress& other) {
               return other.SameDevice(bridge);
           }) == 1;
}

}  // namespace em_pni
