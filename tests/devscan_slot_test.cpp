#include <gtest/gtest.h>
#include <numeric>
#include <sys/resource.h>

#include "devscan/pci_routing.h"
#include "devscan/slot_facts.h"
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
    const std::string whole =
        smbiosStructure(0, "\1\2\3") +
        smbiosSlot(4, card, {.designation = "PCIe 4 ", .peers = {{1, 9, 1, 0}, nowhere}}) +
        smbiosSlot(5, nowhere, {.inUse = false}) + smbiosSlot(6, {0, 0, 0, 0}, {.inUse = false}) +
        smbiosSlot(7, {0, 3, 31, 7}) + smbiosOnboard({0, 2, 0, 1}) +
        smbiosOnboard({0, 2, 0, 2}, 0x05) + smbiosOnboard({0, 2, 0, 3}, 0x89) +
        smbiosStructure(127, "");
    const SlotTables tables = placesOf(whole + smbiosSlot(6, {0, 8, 0, 0}));
    ASSERT_EQ(tables.slots.size(), 4U);
    EXPECT_EQ(tables.slots[0].id, 4);
    EXPECT_EQ(tables.slots[0].designation, "PCIe 4");
    EXPECT_TRUE(tables.slots[0].inUse && !tables.slots[1].inUse);
    EXPECT_EQ(tables.slots[0].addresses, (std::vector<PciAddress>{card, {1, 9, 1, 0}}));
    for (const std::size_t unusable : {1U, 2U, 3U}) {
        EXPECT_TRUE(tables.slots[unusable].addresses.empty()) << unusable;
    }
    EXPECT_EQ(tables.onboard, (std::vector<PciAddress>{{0, 2, 0, 1}})) << "enabled Ethernet only";
    // Before SMBIOS 2.6 slots had no addresses.
    EXPECT_TRUE(placesOf(smbiosStructure(9, std::string(9, '\1'))).slots.at(0).addresses.empty());
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

struct ScriptedFacts final : CISlotFacts {
    bool IsAri(const PciAddress& /*function*/) override { return ari; }
    bool HasOnboardIndex(const PciAddress& /*function*/) override {
        ++asked;
        return onboardIndex;
    }
    std::uint32_t AcpiNumber(const PciAddress& function) override {
        return acpiNumbers.try_emplace(function, unknownSlot).first->second;
    }
    const std::vector<KernelSlot>& KernelSlots() override { return kernelSlots; }

    std::vector<KernelSlot> kernelSlots;
    bool ari = false;
    bool onboardIndex = false;
    std::map<PciAddress, std::uint32_t> acpiNumbers;
    int asked = 0;
};

// A function on bus 3 behind port 00:01.0, which is behind port 00:02.0.
struct Place {
    std::string smbios{};
    PciAddress address = card;
    std::vector<PciAddress> bridges{port, upper};
    std::vector<PciAddress> otherBridges{};
    std::vector<RoutedDevice> routing{};
    ScriptedFacts facts{};

    static constexpr PciAddress port{0, 0, 1, 0};
    static constexpr PciAddress upper{0, 0, 2, 0};
};

SlotAnswer resolve(Place& place) {
    SlotTables tables = placesOf(place.smbios);
    tables.routing = place.routing;
    std::set<PciAddress> addresses(place.bridges.begin(), place.bridges.end());
    addresses.insert(place.otherBridges.begin(), place.otherBridges.end());
    std::vector<PciFunction> functions;
    for (const PciAddress& bridge : addresses) {
        functions.emplace_back().address = bridge;
        functions.back().classCode = pciClassBridge;
    }
    PciFunction& function = functions.emplace_back();
    function.address = place.address;
    function.bridges = place.bridges;
    function.onRootBus = place.bridges.empty();
    return CSlotResolver(tables, functions, place.facts).Resolve(functions.back());
}

std::uint32_t slotOf(Place place) {
    return resolve(place).number;
}

ScriptedFacts factsWith(const std::vector<KernelSlot>& kernelSlots, bool ari = false) {
    ScriptedFacts facts;
    facts.kernelSlots = kernelSlots;
    facts.ari = ari;
    return facts;
}

TEST(DevscanSlot, EachSourceYieldsToTheOneBefore) {
    Place place{.smbios = smbiosOnboard(card) + smbiosSlot(2, card),
                .bridges = {Place::port},
                .routing = {{3, 0, 3}, {0, 1, 9}},
                .facts = factsWith({{7, card, false}})};
    ScriptedFacts& facts = place.facts;
    facts.onboardIndex = true;
    facts.acpiNumbers = {{card, 5}, {Place::port, 6}};
    const auto expect = [&place](std::uint32_t number, SlotSource source) {
        const SlotAnswer answer = resolve(place);
        EXPECT_EQ(answer.number, number) << nameOf(source);
        EXPECT_STREQ(nameOf(answer.source), nameOf(source));
    };
    expect(0, SlotSource::smbiosOnboard);
    place.smbios = smbiosSlot(2, card, {.designation = "PCIe 2"});
    expect(2, SlotSource::smbiosSlot);
    EXPECT_EQ(resolve(place).designation, "PCIe 2");
    place.smbios = "";
    expect(3, SlotSource::routingTable);
    EXPECT_EQ(facts.asked, 0) << "each fact costs system calls";
    place.routing.erase(place.routing.begin());
    expect(0, SlotSource::onboardIndex);
    facts.onboardIndex = false;
    expect(5, SlotSource::acpiNumber);
    facts.acpiNumbers[card] = 64;
    expect(6, SlotSource::bridge);
    facts.acpiNumbers.clear();
    expect(9, SlotSource::bridge);
    place.routing.clear();
    expect(7, SlotSource::kernelSlot);
    facts.kernelSlots.clear();
    expect(unknownSlot, SlotSource::none);
    place.bridges.clear();
    expect(0, SlotSource::rootBus);
}

TEST(DevscanSlot, SmbiosNamesTheCardItsDeviceOrWithAriItsBus) {
    const PciAddress second{0, 3, 0, 1};
    const PciAddress ninth{0, 3, 1, 0};
    EXPECT_EQ(slotOf({.smbios = smbiosOnboard(card), .address = second}), 0U);
    EXPECT_EQ(
        slotOf({.smbios = smbiosOnboard(card) + smbiosOnboard({0, 3, 0, 2}), .address = second}),
        unknownSlot)
        << "other functions of the device are named";
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(4, card), .address = second}), 4U);
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(4, card), .address = ninth}), unknownSlot);
    EXPECT_EQ(
        slotOf({.smbios = smbiosSlot(4, card), .address = ninth, .facts = factsWith({}, true)}),
        4U);
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(4, card) + smbiosSlot(5, second), .address = second}),
              5U);
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(4, card, {.inUse = false}) + smbiosSlot(5, second)}), 5U)
        << "a slot in use goes before a free one";
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(4, card) + smbiosSlot(5, card)}), unknownSlot)
        << "two numbers for one place";
    // Firmware that states no segment is believed on a machine with one segment.
    const std::string unstated = smbiosSlot(4, {0xFFFF, 3, 0, 0});
    EXPECT_EQ(slotOf({.smbios = unstated}), 4U);
    EXPECT_EQ(slotOf({.smbios = unstated, .otherBridges = {{1, 0, 1, 0}}}), unknownSlot);
}

TEST(DevscanSlot, ABridgeIsNamedByItsFunctionOrByItsBus) {
    const PciAddress sibling{0, 0, 1, 1};
    const std::string siblings = smbiosSlot(4, Place::port) + smbiosSlot(5, sibling);
    EXPECT_EQ(slotOf({.smbios = siblings}), 4U);
    EXPECT_EQ(slotOf({.smbios = siblings, .bridges = {sibling}}), 5U);
    EXPECT_EQ(slotOf({.smbios = siblings, .bridges = {{{0, 0, 1, 2}}}}), unknownSlot)
        << "a sibling port is another slot";
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(8, Place::upper)}), 8U);
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(6, {0, 3, 1, 0}) + smbiosSlot(8, Place::upper)}), 6U)
        << "the bus behind the port with the device of the port";
    EXPECT_EQ(slotOf({.smbios = smbiosSlot(6, {0, 3, 1, 0}), .otherBridges = {{0, 3, 1, 0}}}),
              unknownSlot)
        << "a function of its own";
    EXPECT_EQ(slotOf({.smbios = smbiosOnboard(Place::port) + smbiosSlot(8, Place::upper)}), 8U)
        << "an onboard bridge says nothing about its cards";
    EXPECT_EQ(
        slotOf({.smbios = smbiosSlot(8, {0, 2, 2, 0}), .bridges = {{0, 2, 4, 0}, Place::upper}}),
        8U)
        << "the bus behind the upper port";
    // A table that is shifted by one byte is shifted back, but only as a whole.
    const std::string shifted = smbiosSlot(4, {0x80, 3, 0, 1}) + smbiosSlot(5, {0, 3, 0, 1});
    EXPECT_EQ(slotOf({.smbios = shifted, .bridges = {{0, 0x80, 3, 1}}}), 4U);
    EXPECT_EQ(slotOf({.smbios = shifted, .bridges = {{0, 0, 3, 1}}}), 5U);
    EXPECT_EQ(slotOf({.smbios = shifted, .otherBridges = {{0x80, 3, 0, 0}}}), 5U)
        << "the machine has the segment";
    EXPECT_EQ(slotOf({.smbios = shifted + smbiosSlot(6, {0, 9, 0, 0})}), 5U);
    // A kernel slot names a device: it is no answer for one of two ports.
    const KernelSlot atPort{7, Place::port, false};
    EXPECT_EQ(slotOf({.facts = factsWith({atPort})}), 7U);
    EXPECT_EQ(slotOf({.otherBridges = {sibling}, .facts = factsWith({atPort})}), unknownSlot);
    EXPECT_EQ(slotOf({.facts = factsWith({{7, {0, 3, 9, 0}, true}})}), 7U) << "a whole bus";
    const KernelSlot ofCard{7, card, false};
    EXPECT_EQ(slotOf({.address = {0, 3, 1, 0}, .facts = factsWith({ofCard}, true)}), 7U);
    EXPECT_EQ(slotOf({.address = {0, 3, 1, 0}, .facts = factsWith({ofCard})}), unknownSlot);
}

TEST(DevscanSlot, PrintedNumbersStandInForMissingAndSharedIds) {
    const PciAddress other{0, 4, 0, 0};
    const auto numberFor = [&other](std::size_t id, const std::string& designation) {
        return slotOf({.smbios = smbiosSlot(id, card, {.designation = designation}) +
                                 smbiosSlot(9, other, {.designation = "Slot 2"})});
    };
    EXPECT_EQ(numberFor(5, "Slot 4"), 5U);
    EXPECT_EQ(numberFor(0, "Slot 4"), 4U);
    EXPECT_EQ(numberFor(0xFFFF, "PCIE_5_A"), 5U);
    EXPECT_EQ(numberFor(0, "PCI-E 3.0 x16 SLOT#6"), 6U);
    EXPECT_EQ(numberFor(9, "PCI-E 3"), 3U);
    for (const char* const silent : {"J6B2", "Riser 1 Slot 2", "CPU1_PCIE1", "PCIe Chassis Slot 3",
                                     "Slot 64", "SSD Slot 0", "PCIe x8", "PCIe 3.0", ""}) {
        EXPECT_EQ(numberFor(0, silent), unknownSlot) << silent;
    }
    EXPECT_EQ(numberFor(128, "Slot 4"), unknownSlot) << "a record could not hold it";
}

TEST(DevscanSlot, TablesOfMachines) {
    const auto slotWith = [](const std::map<std::size_t, std::string>& memory) {
        CFakeMachine machine;
        machine.Pci("pci0000:00/0000:00:01.0/0000:03:05.0", 0x8086, 0x1521, 0x0200);
        machine.KernelSlot("9-1", "0000:03");
        memory.empty() ? machine.File("dev/mem/folder", "") : machine.Memory(memory);
        return machine.Scan().at(0).Facts().slot;
    };
    std::string wrong = pciRouting(3, 5, 4);
    ++wrong[0x1F];
    EXPECT_EQ(slotWith({{0xF0120, wrong}, {0xF4560, pciRouting(3, 5, 6)}}), 6U);
    const std::string table = smbiosSlot(2, {0, 3, 5, 0});
    const std::string entry = entryPoint64(bytesText({table.size()}), bytesText({0, 0, 0x10}));
    EXPECT_EQ(slotWith({{0x100000, table}, {0xF0010, entry}}), 2U);
    EXPECT_EQ(slotWith({}), 9U) << "memory cannot be read, the kernel knows the bus";
}

// Without descriptors, the rule would take the next source.
TEST(DevscanSlot, AFactThatCannotBeReadNowIsNoAnswer) {
    CFakeMachine machine;
    const CFileTree& files = machine.Machine().Files();
    // UBSan needs descriptors when it meets a class for the first time.
    EXPECT_FALSE(CSlotFacts(files).HasOnboardIndex(card));
    CSlotFacts ofFunction(files);
    CSlotFacts ofKernel(files);
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
    const rlimit none{0, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool hasIndex = ofFunction.HasOnboardIndex(card);
    const bool hasSlots = !ofKernel.KernelSlots().empty();
    const SlotTables* const tables = machine.Machine().Slots();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_FALSE(hasIndex || hasSlots);
    EXPECT_TRUE(ofFunction.AreIncomplete() && ofKernel.AreIncomplete());
    EXPECT_EQ(tables, nullptr);
}

}  // namespace
}  // namespace em_pni
