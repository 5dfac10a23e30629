#include "devscan/slot_tables.h"

#include <algorithm>
#include <optional>

namespace em_pni {
namespace {

// Slot ids that mean no slot.
constexpr std::uint16_t slotIdUnset = 0;
constexpr std::uint16_t slotIdUnknown = 0xFFFF;

std::optional<std::uint32_t> slotAt(const PciAddress& address, const SlotTables& tables) noexcept {
    const auto& onboard = tables.onboard;
    if (std::find(onboard.begin(), onboard.end(), address) != onboard.end()) {
        return 0;
    }
    for (const SmbiosSlot& slot : tables.slots) {
        if (slot.address.SameDevice(address) && slot.id != slotIdUnset &&
            slot.id != slotIdUnknown) {
            return slot.id;
        }
    }
    for (const RoutedDevice& routed : tables.routing) {
        if (address.segment == 0 && routed.bus == address.bus && routed.device == address.device) {
            return routed.slot;
        }
    }
    return std::nullopt;
}

}  // namespace

std::uint32_t resolveSlot(const PciFunction& function, const SlotTables& tables) noexcept {
    if (const auto own = slotAt(function.address, tables)) {
        return *own;
    }
    for (const PciAddress& bridge : function.bridges) {
        // An onboard bridge does not make the card behind it onboard.
        if (const auto slot = slotAt(bridge, tables); slot.value_or(0) != 0) {
            return *slot;
        }
    }
    return function.onRootBus ? 0 : unknownSlot;
}

}  // namespace em_pni
