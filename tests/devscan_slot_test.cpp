#include <gtest/gtest.h>
#include <numeric>

#include "devscan/pci_routing.h"
#include "devscan/smbios.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni {
namespace {

constexpr PciAddress card{0, 3, 0, 0};
constexpr PciAddress nowhere{0, 0xFF, 31, 1};

std::string withChecksum(std::string bytes, std::size_t at) {
    bytes[at] = static_cast<char>(-std::accumulate(bytes.begin(), bytes.end(), 0));
    return bytes;
}

std::string onboardDevice(const PciAddress& at, std::size_t type) {
    return smbiosStructure(41, bytesText({1, type, 1}) + smbiosAddress(at));
}

// A table with one entry.
std::string pciRouting(std::size_t bus, std::size_t device, std::size_t slot) {
    return withChecksum(std::string("$PIR\0\0\x30", 7) + std::string(25, '\0') +
                            bytesText({bus, device * 8}) + std::string(12, '\0') +
                            bytesText({slot, 0}),
                        0x1F);
}

std::string entryPoint64(const std::string& size, const std::string& address) {
    std::string entry(0x18, '\0');
    entry.replace(0, 7, std::string("_SM3_\0\x18", 7));
    entry.replace(0x0C, size.size(), size);
    entry.replace(0x10, address.size(), address);
    return withChecksum(entry, 5);
}

SlotTables placesOf(std::string_view table) {
    SlotTables tables;
    addSmbiosPlaces(CByteView(table), tables);
    return tables;
}

TEST(DevscanSlot, SmbiosStructures) {
    const std::string whole = smbiosStructure(0, "\1\2\3") +
                              smbiosSlot(4, card, {{1, 9, 1, 0}, nowhere}) +
                              smbiosSlot(5, nowhere) + onboardDevice({0, 2, 0, 1}, 0x85) +
                              onboardDevice({0, 2, 0, 2}, 0x05) + smbiosStructure(127, "");
    const SlotTables tables = placesOf(whole + smbiosSlot(6, {0, 8, 0, 0}));
    ASSERT_EQ(tables.slots.size(), 2U);
    EXPECT_EQ(tables.slots[0].id, 4);
    EXPECT_EQ(tables.slots[1].address, (PciAddress{1, 9, 1, 0}));
    EXPECT_EQ(tables.onboard, (std::vector<PciAddress>{{0, 2, 0, 1}}));
    // Before SMBIOS 2.6 slots had no addresses.
    EXPECT_TRUE(placesOf(smbiosStructure(9, std::string(9, '\1'))).slots.empty());
    // A cut structure is ignored. A structure of length 0 must not cause an endless loop.
    const std::string slot = smbiosSlot(4, card);
    for (std::size_t length = 0; length < slot.size(); ++length) {
        EXPECT_TRUE(placesOf(std::string_view(slot).substr(0, length)).slots.empty()) << length;
    }
    EXPECT_TRUE(placesOf(std::string(64, '\0') + slot).slots.empty());
}

TEST(DevscanSlot, EntryPointsAreFoundByTheirChecksum) {
    std::string entry = "_SM_" + std::string("\0\x1F", 2) + std::string(16, '\0');
    entry = withChecksum(entry + std::string("\x34\x12\0\0\x0F\0\0\0\0", 9), 4);
    const std::string entry64 = entryPoint64("\x78\x56", std::string("\0\x10\0\0\x01", 5));
    const std::string area = std::string(16, '_') + entry + "x";
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(area)).value().address, 0xF0000U);
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(area)).value().size, 0x1234U);
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(entry64)).value().address, 0x100001000U);
    for (std::string whole : {entry, entry64}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_FALSE(findSmbiosEntryPoint(CByteView(whole.substr(0, length)))) << length;
        }
        whole[0x16] ^= 1;
        EXPECT_FALSE(findSmbiosEntryPoint(CByteView(whole)));
    }
}

std::uint32_t slotOf(const std::string& smbios, const PciAddress& address,
                     std::vector<PciAddress> bridges, const std::vector<RoutedDevice>& routing) {
    SlotTables tables = placesOf(smbios);
    tables.routing = routing;
    PciFunction function;
    function.address = address;
    function.onRootBus = bridges.empty();
    function.bridges = std::move(bridges);
    return resolveSlot(function, tables);
}

TEST(DevscanSlot, OrderOfTheRule) {
    const std::vector<RoutedDevice> routed{{3, 0, 7}};
    const PciAddress second{0, 3, 0, 1};
    const PciAddress port{0, 0, 1, 0};
    const PciAddress upper{0, 0, 2, 0};
    // An onboard entry has priority, but only for its own function.
    const std::string both = smbiosSlot(4, card) + onboardDevice(second, 0x85);
    EXPECT_EQ(slotOf(both, second, {port}, routed), 0U);
    EXPECT_EQ(slotOf(both, {0, 3, 0, 2}, {port}, routed), 4U);
    // Slot ids 0 and 0xFFFF mean no slot. The routing table is for segment 0 only.
    EXPECT_EQ(slotOf(smbiosSlot(0, card) + smbiosSlot(0xFFFF, card), card, {port}, routed), 7U);
    EXPECT_EQ(slotOf("", {1, 3, 0, 0}, {port}, routed), unknownSlot);
    // The nearest bridge with a slot counts. Onboard bridges are skipped.
    EXPECT_EQ(slotOf(smbiosSlot(8, upper) + smbiosSlot(9, port), card, {port, upper}, {}), 9U);
    EXPECT_EQ(slotOf(smbiosSlot(8, upper) + onboardDevice(port, 0x85), card, {port, upper}, {}),
              8U);
    EXPECT_EQ(slotOf("", card, {}, {}), 0U);
}

TEST(DevscanSlot, TablesOfMachines) {
    const auto slotWith = [](const std::map<std::size_t, std::string>& memory) {
        CFakeMachine machine;
        machine.Pci("pci0000:00/0000:00:01.0/0000:03:05.0", 0x8086, 0x1521, 0x0200);
        memory.empty() ? machine.File("dev/mem/folder", "") : machine.Memory(memory);
        return machine.Scan().at(0).Facts().slot;
    };
    std::string wrong = pciRouting(3, 5, 4);
    ++wrong[0x1F];
    EXPECT_EQ(slotWith({{0xF0120, wrong}, {0xF4560, pciRouting(3, 5, 6)}}), 6U);
    const std::string table = smbiosSlot(2, {0, 3, 5, 0});
    const std::string entry = entryPoint64(bytesText({table.size()}), bytesText({0, 0, 0x10}));
    EXPECT_EQ(slotWith({{0x100000, table}, {0xF0010, entry}}), 2U);
    EXPECT_EQ(slotWith({}), unknownSlot) << "memory cannot be read";
}

}  // namespace
}  // namespace em_pni
