#include "devscan/pci_routing.h"

namespace em_pni {
namespace {

constexpr std::size_t alignment = 16;
constexpr std::size_t tableSize = 0x06;
constexpr std::size_t firstEntry = 0x20;
constexpr std::size_t entrySize = 0x10;
constexpr std::size_t entryBus = 0x00;
constexpr std::size_t entryDevfn = 0x01;
constexpr std::size_t entrySlot = 0x0E;

void addEntries(CByteView table, SlotTables& tables) {
    for (std::size_t offset = firstEntry; table.Has(offset, entrySize); offset += entrySize) {
        tables.routing.push_back({table.U8(offset + entryBus),
                                  static_cast<std::uint8_t>(table.U8(offset + entryDevfn) >> 3U),
                                  table.U8(offset + entrySlot)});
    }
}

}  // namespace

void addPciRouting(CByteView area, SlotTables& tables) {
    for (std::size_t offset = 0; area.Has(offset, firstEntry); offset += alignment) {
        if (!area.HasText(offset, "$PIR")) {
            continue;
        }
        const CByteView table = area.Part(offset, area.U16(offset + tableSize));
        if (table.Size() >= firstEntry && table.SumsToZero()) {
            addEntries(table, tables);
            return;
        }
    }
}

}  // namespace em_pni
