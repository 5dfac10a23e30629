#include "devscan/smbios.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/text.h"

namespace em_pni {
namespace {

constexpr std::size_t entryAlignment = 16;

// Offsets below are in bytes.

// "_SM_", the 32-bit entry point.
constexpr std::size_t entry32Length = 0x05;
constexpr std::size_t entry32MinSize = 0x1E;  // as SMBIOS 2.1 states it; 0x1F later
constexpr std::size_t entry32TableSize = 0x16;
constexpr std::size_t entry32TableAddress = 0x18;

// "_SM3_", the 64-bit entry point.
constexpr std::size_t entry64Length = 0x06;
constexpr std::size_t entry64MinSize = 0x18;
constexpr std::size_t entry64TableSize = 0x0C;
constexpr std::size_t entry64TableAddress = 0x10;

// A structure begins with type, length of its formatted part, and handle. Its strings follow.
constexpr std::size_t headerType = 0;
constexpr std::size_t headerLength = 1;
constexpr std::size_t headerSize = 4;
constexpr std::uint8_t typeSlot = 9;
constexpr std::uint8_t typeOnboard = 41;
constexpr std::uint8_t typeEnd = 127;

// Type 9.
constexpr std::size_t slotDesignation = 0x04;  // number of a string
constexpr std::size_t slotUsage = 0x07;
constexpr std::uint8_t slotInUse = 4;
constexpr std::size_t slotId = 0x09;
constexpr std::size_t slotAddress = 0x0D;  // segment (2 bytes), bus, devfn
constexpr std::size_t slotPeerCount = 0x12;
constexpr std::size_t slotPeers = 0x13;
constexpr std::size_t slotPeerSize = 5;  // address and width

// Type 41.
constexpr std::size_t onboardType = 0x05;  // bit 7 enabled, bits 6..0 type
constexpr std::uint8_t onboardEthernetEnabled = 0x85;
constexpr std::size_t onboardAddress = 0x07;

constexpr std::size_t addressSize = 4;
constexpr std::uint8_t unknownBus = 0xFF;  // segment and devfn then have no meaning
constexpr std::uint8_t unknownDevfn = 0xFF;

std::optional<SmbiosTablePlace> entryPointAt(CByteView area, std::size_t offset) noexcept {
    if (area.HasText(offset, "_SM3_")) {
        const CByteView entry = area.Part(offset, area.U8(offset + entry64Length));
        if (entry.Size() >= entry64MinSize && entry.SumsToZero()) {
            return SmbiosTablePlace{entry.U64(entry64TableAddress), entry.U32(entry64TableSize)};
        }
    } else if (area.HasText(offset, "_SM_")) {
        const CByteView entry = area.Part(offset, area.U8(offset + entry32Length));
        if (entry.Size() >= entry32MinSize && entry.SumsToZero()) {
            return SmbiosTablePlace{entry.U32(entry32TableAddress), entry.U16(entry32TableSize)};
        }
    }
    return std::nullopt;
}

// The address at `offset`. Returns no value when it is unknown or the structure is too short.
std::optional<PciAddress> addressAt(CByteView structure, std::size_t offset) noexcept {
    const CByteView bytes = structure.Part(offset, addressSize);
    if (bytes.Size() == 0 || bytes.U8(2) == unknownBus || bytes.U8(3) == unknownDevfn) {
        return std::nullopt;
    }
    return PciAddress::FromPacked(std::uint32_t{bytes.U16(0)} << 16U |
                                  std::uint32_t{bytes.U8(2)} << 8U | bytes.U8(3));
}

// String `number` of a structure whose strings begin at `offset`; the first has number 1, and 0
// means no string.
std::string stringOf(CByteView table, std::size_t offset, std::uint8_t number) {
    for (std::uint8_t current = 1; table.U8(offset) != 0; ++current) {
        std::size_t end = offset;
        while (table.U8(end) != 0) {
            ++end;
        }
        if (current == number) {
            const auto bytes = table.Inside(offset, end - offset);
            return printableText({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        }
        offset = end + 1;
    }
    return "";
}

void addSlot(CByteView structure, std::string designation, SlotTables& tables) {
    SmbiosSlot slot{.id = structure.U16(slotId),
                    .inUse = structure.U8(slotUsage) == slotInUse,
                    .designation = std::move(designation),
                    .addresses = {}};
    // Firmware states the address of the host bridge for a free slot without an address.
    const auto add = [&slot](const std::optional<PciAddress>& address) {
        if (address && (slot.inUse || *address != PciAddress{0, 0, 0, 0})) {
            slot.addresses.push_back(*address);
        }
    };
    add(addressAt(structure, slotAddress));
    for (std::size_t peer = 0; peer < structure.U8(slotPeerCount); ++peer) {
        add(addressAt(structure, slotPeers + peer * slotPeerSize));
    }
    tables.slots.push_back(std::move(slot));
}

void addOnboard(CByteView structure, SlotTables& tables) {
    const auto address = addressAt(structure, onboardAddress);
    if (address && structure.U8(onboardType) == onboardEthernetEnabled) {
        tables.onboard.push_back(*address);
    }
}

// The offset behind the two zero bytes that end the strings. The strings begin at `offset`.
std::optional<std::size_t> endOfStrings(CByteView table, std::size_t offset) noexcept {
    for (; table.Has(offset, 2); ++offset) {
        if (table.U16(offset) == 0) {
            return offset + 2;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<SmbiosTablePlace> findSmbiosEntryPoint(CByteView area) noexcept {
    for (std::size_t offset = 0; area.Has(offset, entryAlignment); offset += entryAlignment) {
        if (const auto place = entryPointAt(area, offset)) {
            return place;
        }
    }
    return std::nullopt;
}

void addSmbiosPlaces(CByteView table, SlotTables& tables) {
    std::size_t offset = 0;
    while (table.Has(offset, headerSize)) {
        const CByteView structure = table.Part(offset, table.U8(offset + headerLength));
        const auto next = endOfStrings(table, offset + structure.Size());
        if (structure.Size() < headerSize || !next) {
            return;
        }
        switch (structure.U8(headerType)) {
            case typeSlot:
                addSlot(structure,
                        stringOf(table, offset + structure.Size(), structure.U8(slotDesignation)),
                        tables);
                break;
            case typeOnboard:
                addOnboard(structure, tables);
                break;
            case typeEnd:
                return;
            default:
                break;
        }
        offset = *next;
    }
}

}  // namespace em_pni
