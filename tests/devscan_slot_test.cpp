#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "devscan/pci_routing.h"
#include "devscan/smbios.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni {
namespace {

constexpr PciAddress card{0, 3, 0, 0};
constexpr PciAddress nowhere{0, 0xFF, 31, 1};

// A copy of at most a page of bytes that ends where an unreadable page begins; until the next one.
CByteView guarded(std::string_view bytes) {
    static const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    static char* const map = static_cast<char*>(
        ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ::mprotect(map + page, page, PROT_NONE);
    char* const copy = map + page - bytes.size();
    std::memcpy(copy, bytes.data(), bytes.size());
    return CByteView(std::string_view(copy, bytes.size()));
}

SlotTables placesOf(std::string_view table) {
    SlotTables tables;
    addSmbiosPlaces(guarded(table), tables);
    return tables;
}

std::size_t countOf(const SlotTables& tables) {
    return tables.slots.size() + tables.onboard.size() + tables.routing.size();
}

std::string fullTable() {
    return smbiosStructure(0, "\1\2\3") + smbiosSlot(4, card, {{1, 9, 1, 0}, nowhere}) +
           smbiosSlot(5, nowhere) + smbiosOnboard({0, 2, 0, 1}, true) +
           smbiosOnboard({0, 2, 0, 2}, false) + smbiosStructure(127, "") +
           smbiosSlot(6, {0, 8, 0, 0});
}

TEST(DevscanSlot, SmbiosStructures) {
    const SlotTables tables = placesOf(fullTable());
    ASSERT_EQ(tables.slots.size(), 2U);
    EXPECT_EQ(tables.slots[0].id, 4);
    EXPECT_EQ(tables.slots[1].address, (PciAddress{1, 9, 1, 0}));
    EXPECT_EQ(tables.onboard, (std::vector<PciAddress>{{0, 2, 0, 1}}));
    // Before SMBIOS 2.6 slots had no addresses.
    EXPECT_TRUE(placesOf(smbiosStructure(9, std::string(9, '\1'))).slots.empty());
}

TEST(DevscanSlot, TablesCutAtEveryLength) {
    const std::string whole = fullTable();
    std::size_t before = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::size_t now = countOf(placesOf(std::string_view(whole).substr(0, length)));
        EXPECT_GE(now, before) << length;
        before = now;
    }
    EXPECT_EQ(before, 3U);
    // Wrong lengths, too; one of zero must not be walked on the spot.
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char value : {'\0', '\3', '\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[at] = value;
            EXPECT_LE(countOf(placesOf(changed)), 16U);
        }
    }
    const std::string area = std::string(32, '$') + pciRouting(3, 5, 7);
    for (std::size_t length = 0; length <= area.size(); ++length) {
        SlotTables tables;
        addPciRouting(guarded(area.substr(0, length)), tables);
        EXPECT_EQ(countOf(tables), length == area.size() ? 1U : 0U) << length;
    }
}

std::string entryPoint64(const std::string& size, const std::string& address) {
    std::string entry(0x18, '\0');
    entry.replace(0, 5, "_SM3_");
    entry[6] = 0x18;
    entry.replace(0x0C, size.size(), size);
    entry.replace(0x10, address.size(), address);
    return withChecksum(entry, 5);
}

TEST(DevscanSlot, EntryPointsAreFoundByTheirChecksum) {
    std::string entry(0x1F, '\0');
    entry.replace(0, 4, "_SM_");
    entry[5] = 0x1F;
    entry.replace(0x16, 2, "\x34\x12");
    entry.replace(0x18, 4, std::string("\x00\x00\x0F\x00", 4));
    entry = withChecksum(entry, 4);
    const std::string entry64 = entryPoint64("\x78\x56", std::string("\0\x10\0\0\x01", 5));
    const std::string area = std::string(16, '_') + entry + "x";
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(area)).value().address, 0xF0000U);
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(area)).value().size, 0x1234U);
    EXPECT_EQ(findSmbiosEntryPoint(CByteView(entry64)).value().address, 0x100001000U);
    for (const std::string& whole : {entry, entry64}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_FALSE(findSmbiosEntryPoint(guarded(whole.substr(0, length)))) << length;
        }
        std::string wrong = whole;
        wrong[0x16] = static_cast<char>(wrong[0x16] ^ 1);
        EXPECT_FALSE(findSmbiosEntryPoint(CByteView(wrong)));
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
    // An exact onboard entry wins, but only for its own function.
    const std::string both = smbiosSlot(4, card) + smbiosOnboard(second, true);
    EXPECT_EQ(slotOf(both, second, {port}, routed), 0U);
    EXPECT_EQ(slotOf(both, {0, 3, 0, 2}, {port}, routed), 4U);
    // Slot ids 0 and 0xFFFF say nothing; the routing table knows segment 0 only.
    EXPECT_EQ(slotOf(smbiosSlot(0, card) + smbiosSlot(0xFFFF, card), card, {port}, routed), 7U);
    EXPECT_EQ(slotOf("", {1, 3, 0, 0}, {port}, routed), unknownSlot);
    // Bridges, the nearest first.
    EXPECT_EQ(slotOf(smbiosSlot(8, upper) + smbiosSlot(9, port), card, {port, upper}, {}), 9U);
}

TEST(DevscanSlot, TablesOfMachines) {
    CFakeMachine routed;
    routed.Pci("pci0000:00/0000:00:01.0/0000:03:05.0", 0x8086, 0x1521, 0x0200);
    routed.Memory(0xF4560, pciRouting(3, 5, 6));
    EXPECT_EQ(routed.Scan().at(0).Facts().slot, 6U);

    CFakeMachine inMemory;
    inMemory.Pci("pci0000:00/0000:00:01.0/0000:03:00.0", 0x8086, 0x1521, 0x0200);
    const std::string table = smbiosSlot(2, card);
    inMemory.Memory(0x100000, table);
    inMemory.Memory(0xF0010, entryPoint64({static_cast<char>(table.size())}, {0, 0, '\x10'}));
    EXPECT_EQ(inMemory.Scan().at(0).Facts().slot, 2U);
}

}  // namespace
}  // namespace em_pni
