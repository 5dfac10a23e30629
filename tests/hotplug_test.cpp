// Cards are plugged and pulled while the module keeps the record.
#include <gtest/gtest.h>
#include <numeric>

#include "frudata/pni_fru.h"
#include "tests/many_cards.h"
#include "tests/module_fixture.h"

namespace em_pni::test {
namespace {

using enum krcp::DeviceAction;

class HotplugTest : public ModuleFixture {
  protected:
    HotplugTest() : ModuleFixture(5) {
        std::string tables;
        for (unsigned slot = 3; slot < 9; ++slot) {
            tables += smbiosSlot(slot, {0, byteOf(slot < 5 ? slot : 0x10 + slot), 0, 0});
        }
        machine_.File("sys/firmware/dmi/tables/DMI", tables);
        module_.Start(&host_, 0);
    }

    // Runs one cycle on the controller's record after these events. Returns the number of writes.
    int Cycle(const std::vector<krcp::DeviceAction>& actions) {
        for (const krcp::DeviceAction action : actions) {
            Report(module_, action);
        }
        const int before = host_.Count(krcp::writeFru);
        module_.OnSwitchStarted();
        module_.Stop();
        EXPECT_EQ(pniValidateFru(host_.Image().data(), host_.Image().size()), PNI_SUCCESS);
        return host_.Count(krcp::writeFru) - before;
    }
    static void Report(CPniExtModule& module, krcp::DeviceAction action) {
        Send(module, krcp::deviceDataChanged, std::to_string(action));
    }
    void PlugPort(const std::string& function, const std::string& interface, const Bytes& mac) {
        machine_.Pci(function, 0x8086, 0x1572, 0x0200, "i40e");
        machine_.Net(function, interface, fakeInterface(mac, 10));
    }
    void PullPort(const std::string& function, const std::string& interface) {
        machine_.Remove("sys/class/net/" + interface);
        machine_.Remove("sys/devices/" + function);
        machine_.Remove("sys/bus/pci/devices/" + function.substr(function.rfind('/') + 1));
    }
    // One-port Ethernet cards in the slots after those of the sample machine.
    static std::string Function(unsigned slot) {
        const std::string digit = std::to_string(slot);
        return "pci0000:00/0000:00:1" + digit + ".0/0000:1" + digit + ":00.0";
    }
    void Plug(unsigned slot, unsigned number) {
        PlugPort(Function(slot), "ens" + std::to_string(slot), sampleMac(9, byteOf(number)));
    }
    void Pull(unsigned slot) { PullPort(Function(slot), "ens" + std::to_string(slot)); }
    void PullSampleCard() {
        PullPort("pci0000:00/0000:00:01.0/0000:03:00.0", "ens3f0");
        PullPort("pci0000:00/0000:00:01.0/0000:03:00.1", "ens3f1");
    }
    void PlugSampleCard() {
        PlugPort("pci0000:00/0000:00:01.0/0000:03:00.0", "ens3f0", sampleMac(3, 1));
        PlugPort("pci0000:00/0000:00:01.0/0000:03:00.1", "ens3f1", sampleMac(3, 2));
    }
    [[nodiscard]] CPniFruData Record() { return CPniFruData(host_.Image()); }
    [[nodiscard]] Bytes Ids() { return Record().GetModuleIds(); }
};

TEST_F(HotplugTest, CardsComeAndGoAndNothingElseIsTouched) {
    for (const unsigned slot : {5U, 6U, 7U}) {
        Plug(slot, slot);
    }
    EXPECT_EQ(Cycle({}), 0) << "no event has reported them";
    EXPECT_EQ(Cycle({instanceRemoved}), 0);
    EXPECT_TRUE(trace_.Has("WARNING ! Module ADD when no proper hot-plug flag set!"));
    EXPECT_EQ(Cycle({instanceAdded}), 1);
    ASSERT_EQ(Ids(), (Bytes{0, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Record().GetModuleMacAddresses(4), std::vector<MacAddress>{sampleMac(9, 6)});
    EXPECT_EQ(Cycle({instanceChanged}), 0) << "nothing is new";

    const std::size_t size = host_.Image().size();
    PullSampleCard();
    Pull(5);
    Pull(6);
    EXPECT_EQ(Cycle({instanceAdded}), 0);
    EXPECT_TRUE(trace_.Has("WARNING ! Module REMOVE when no proper hot-plug flag set!"));
    EXPECT_EQ(Cycle({instanceRemoved}), 1);
    EXPECT_EQ(Ids(), (Bytes{0, 4, 7})) << "before, between and behind the pulled ones";
    EXPECT_TRUE(trace_.Has("Remove module 4."));
    Pull(7);
    EXPECT_EQ(Cycle({instanceRemoved}), 1);
    PlugSampleCard();
    EXPECT_EQ(Cycle({instanceRemoved, instanceAdded}), 1) << "one comes back, and goes to the end";
    EXPECT_EQ(Ids(), (Bytes{0, 4, 3}));
    EXPECT_EQ(host_.Image().size(), size) << "never shorter than it was read";
}

TEST_F(HotplugTest, PulledCardsLeaveTheFirstBytesAndExchangedOnesGetTheNextId) {
    Plug(5, 1);
    EXPECT_EQ(Cycle({instanceAdded}), 1);
    Pull(5);
    EXPECT_EQ(Cycle({instanceRemoved}), 1);
    EXPECT_EQ(host_.Image(), original_);
    Plug(5, 1);
    Plug(6, 2);
    Cycle({instanceAdded});
    Pull(5);
    Plug(5, 3);
    EXPECT_EQ(Cycle({instanceRemoved, instanceAdded}), 1);
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4, 6, 7}));
    EXPECT_EQ(Record().GetModuleMacAddresses(4), std::vector<MacAddress>{sampleMac(9, 3)});
    EXPECT_EQ(Cycle({instanceRemoved, instanceAdded}), 0);
}

// The ports of slots 5 and 6 are functions of one device. Only the kernel knows slot 7.
TEST_F(HotplugTest, CardsBehindSiblingPortsAndInASlotOfTheKernel) {
    machine_.Smbios(smbiosSlot(3, {0, 3, 0, 0}) + smbiosSlot(4, {0, 4, 0, 0}) +
                    smbiosSlot(5, {0, 0, 0x1C, 0}) + smbiosSlot(6, {0, 0, 0x1C, 1}));
    machine_.KernelSlot("7-1", "0000:17:00");
    const auto plug = [this](unsigned slot) {
        const std::string port = "pci0000:00/0000:00:1c." + std::to_string(slot - 5);
        machine_.Bridge(port);
        PlugPort(port + "/0000:1" + std::to_string(slot) + ":00.0", "ens" + std::to_string(slot),
                 sampleMac(9, byteOf(slot)));
    };
    plug(5);
    plug(6);
    EXPECT_EQ(Cycle({instanceAdded}), 1);
    ASSERT_EQ(Ids(), (Bytes{0, 3, 4, 5, 6}));
    std::swap(machine_.interfaces->interfaces.at("ens5"),
              machine_.interfaces->interfaces.at("ens6"));
    EXPECT_EQ(Cycle({}), 1);
    EXPECT_EQ(Record().GetModuleMacAddresses(3), std::vector<MacAddress>{sampleMac(9, 6)});
    EXPECT_EQ(Record().GetModuleMacAddresses(4), std::vector<MacAddress>{sampleMac(9, 5)});
    plug(7);
    EXPECT_EQ(Cycle({instanceAdded}), 1);
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4, 5, 6, 7}));
}

TEST_F(HotplugTest, OnlyAddInCardsComeAndGo) {
    PlugPort("pci0000:00/0000:00:05.0", "eno9", sampleMac(9, 9));
    EXPECT_EQ(Cycle({instanceAdded}), 0);
    EXPECT_TRUE(trace_.Has("Additional module not supported in hot-plug, continue..."));
    PullPort("pci0000:00/0000:00:03.0", "eno0");
    PullPort("pci0000:00/0000:00:03.1", "eno1");
    EXPECT_EQ(Cycle({instanceRemoved}), 0);
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4}));
    EXPECT_TRUE(
        trace_.Has("Module 0 type not supported for hot-unplug : Onboard (location id - 0)"));
    Bytes mezzanine = original_;
    mezzanine[254 + 23] = 1;
    fixChecksums(mezzanine);
    host_.Put(mezzanine);
    PullSampleCard();
    EXPECT_EQ(Cycle({instanceRemoved}), 0);
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4})) << "it has a slot, but is no add-in card";
}

TEST_F(HotplugTest, ACardThatIsThereButDoesNotTellItsAddressesStays) {
    for (const char* interface : {"ens3f0", "ens3f1"}) {
        machine_.Remove(std::string("sys/class/net/") + interface);  // its driver is not loaded
    }
    Cycle({instanceRemoved});
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4}));
    EXPECT_TRUE(trace_.Has("Adapter does not have valid MAC - ignore.."));
    PullSampleCard();
    PlugSampleCard();
    host_.OnStatus(krcp::macAddress, krcp::NO_DATA);  // no Ethernet adapter can be collected
    Cycle({instanceRemoved});
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4}));
    EXPECT_TRUE(trace_.Has("Module 1 stays, its device is there but could not be identified."));
}

TEST_F(HotplugTest, ARefusedChangeLeavesRecordAndFlags) {
    Bytes untracked = original_;
    untracked[254 + 22] = 2;  // the technology of the second module is not tracked
    fixChecksums(untracked);
    host_.Put(untracked);
    Plug(5, 1);
    host_.On(krcp::clearNetworkSnapshot, [](CKrcpMessage&) { throw std::runtime_error("host"); });
    Report(module_, instanceAdded);
    module_.OnSwitchStarted();
    ASSERT_TRUE(soon([&] { return trace_.Has("event not reset! Retry 1 more time(s)."); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    module_.Stop();
    const int tries = trace_.Count(
        "CRITICAL ERROR! Exception when calling UpdatePlatformNetworkInventoryStructure! map::at");
    EXPECT_TRUE(tries >= 3 && tries <= 6) << tries << ", then it sleeps again";
    EXPECT_EQ(host_.Image(), untracked);
    // The flag is still set: the next possible cycle adds the card without another event.
    host_.Put(original_);
    EXPECT_EQ(Cycle({}), 1);
    EXPECT_EQ(Ids(), (Bytes{0, 3, 4, 5}));
}

TEST_F(HotplugTest, AWriteThatIsTooLongIsTriedAgainWithoutGrowing) {
    Configure("20");
    module_.Start(&host_, 0);
    std::vector<std::size_t> sizes;  // of the images that the thread writes
    host_.On(krcp::writeFru, [&sizes](CKrcpMessage& message) {
        Bytes bytes;
        sizes.push_back(krcp::copyRawBytes(message, bytes));
        krcp::setStatus(message, krcp::SET_STRING_TOOLONG);
    });
    Plug(5, 1);
    Report(module_, instanceAdded);
    module_.OnSwitchStarted();
    ASSERT_TRUE(soon([&] { return host_.Count(krcp::writeFru) >= 3; }));
    module_.Stop();
    EXPECT_EQ(sizes, std::vector<std::size_t>(sizes.size(), sizes[0]));
    EXPECT_TRUE(trace_.Has("FAILED to write PNI FRU data (KRCP status 0xA)"));
}

// Thirty new cards get the ids after those of the old ones. For sixty there are not enough ids: the
// old modules stay and get the addresses of the new cards in the same slots.
TEST_F(HotplugTest, AllOfManyCardsAreReplacedAtOnce) {
    for (const unsigned cards : {30U, 60U}) {
        const ManyCards rack{.cards = cards, .ports = 2};
        CFakeMachine machine;
        rack.Plug(machine, 2);
        CScriptedHost host(rack.Record(1));
        CScriptedNetwork network(host);
        network.interfaces = rack.Interfaces(2);
        const auto module = NewModule(machine);
        module->Start(&host, 0);
        Report(*module, instanceRemoved);
        Report(*module, instanceAdded);
        module->OnSwitchStarted();
        ASSERT_TRUE(soon([&] { return host.Image() != rack.Record(1); }));
        module->Stop();
        EXPECT_LE(host.Count(krcp::macAddress), 3 * 2 * static_cast<int>(cards * rack.ports))
            << "not the product of cards and interfaces";
        // One module for each new card, no module of an old card.
        const CPniFruData record(host.Image());
        Bytes ids(cards);
        std::iota(ids.begin(), ids.end(), cards == 30 ? 31 : 1);
        ASSERT_EQ(record.GetModuleIds(), ids);
        for (unsigned card = 1; card <= cards; ++card) {
            const std::vector<MacAddress> macs = {ManyCards::Mac(2, card, 0),
                                                  ManyCards::Mac(2, card, 1)};
            EXPECT_EQ(record.GetModuleMacAddresses(byteOf(card - 1)), macs) << card;
        }
    }
}

}  // namespace
}  // namespace em_pni::test
