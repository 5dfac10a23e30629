#include <gtest/gtest.h>

#include "frudata/pni_fru.h"
#include "tests/module_fixture.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;

class SyncTest : public ModuleFixture {
  protected:
    SyncTest() : ModuleFixture(5) {
        module_.SetCabinetNumber(0);
        module_.Start(&host_, 0);
    }

    // Runs one cycle on the controller's record. Returns the number of writes.
    int Cycle() {
        const int before = host_.Count(krcp::writeFru);
        module_.OnSwitchStarted();
        module_.Stop();
        EXPECT_EQ(pniValidateFru(host_.Image().data(), host_.Image().size()), PNI_SUCCESS);
        return host_.Count(krcp::writeFru) - before;
    }
    FakeInterface& Interface(const std::string& name) {
        return machine_.interfaces->interfaces.at(name);
    }
    [[nodiscard]] CPniFruData Record() { return CPniFruData(host_.Image()); }
    void ExchangePort() { Interface("ens3f1").permanent = newMac_; }
    const Bytes newMac_ = {0x0A, 1, 2, 3, 4, 5};
};

TEST_F(SyncTest, ExchangedCardsGiveTheirAddressesToTheRecord) {
    EXPECT_EQ(Cycle(), 0) << "the machine fits its record";
    EXPECT_TRUE(trace_.Has("Found 3 valid PNI local devices."));
    EXPECT_FALSE(trace_.Has("mismatch") || trace_.Has("SKIP"));
    ExchangePort();
    machine_.File("sys/class/fc_host/host1/port_name", "0x10000000c9abcdef\n");
    EXPECT_EQ(Cycle(), 1);
    EXPECT_EQ(Record().GetModuleMacAddresses(1),
              (std::vector<MacAddress>{sampleMac(3, 1), newMac_}));
    const auto names = Record().GetModulePhysicalAddresses(2);
    EXPECT_EQ(names[0].wwpn, 0x100000109B000001U);
    EXPECT_EQ(names[1].wwpn, 0x10000000C9ABCDEFU);
    EXPECT_EQ(names[1].wwnn, 0x200000109B000002U);
    EXPECT_TRUE(trace_.Has("CheckPhysicalAddrs : MAC address mismatch for adapter slot #3"));
    EXPECT_TRUE(trace_.Has("CheckPhysicalAddrs : WWPN address mismatch for adapter slot #4"));
    EXPECT_EQ(Cycle(), 0) << "it is true now";
}

TEST_F(SyncTest, AnAddressThatTheMachineDoesNotTellStaysInTheRecord) {
    machine_.Remove("sys/class/net/ens3f0");  // its driver is not loaded
    machine_.File("sys/class/fc_host/host0/port_name", "0xffffffffffffffff\n");
    ExchangePort();
    EXPECT_EQ(Cycle(), 1);
    EXPECT_EQ(Record().GetModuleMacAddresses(1),
              (std::vector<MacAddress>{sampleMac(3, 1), newMac_}));
    EXPECT_EQ(Record().GetModulePhysicalAddresses(2)[0].wwpn, 0x100000109B000001U);
}

TEST_F(SyncTest, OnlyTheSameCardInTheSamePlaceIsCompared) {
    for (const char* name : {"eno0", "ens3f0"}) {
        Interface(name).permanent = {0x0A, 9, 9, 9, 9, 9};
    }
    // The card has two more ports. The onboard device is in a slot that is not in the record.
    for (const char* port : {"2", "3"}) {
        machine_.Pci(std::string("pci0000:00/0000:00:01.0/0000:03:00.") + port, 0x8086, 0x1572,
                     0x0200);
    }
    machine_.File(
        "sys/firmware/dmi/tables/DMI",
        smbiosSlot(3, {0, 3, 0, 0}) + smbiosSlot(9, {0, 0, 3, 0}) + smbiosSlot(4, {0, 4, 0, 0}));
    EXPECT_EQ(Cycle(), 0);
    EXPECT_TRUE(trace_.Has("Number of ports on the adapter does not match - SKIP."));
    // The same slot at another PCI location.
    Bytes image = sample("three-modules.fru");
    image[254 + 56 + 4 + 27] = 0x05;  // bus of the card's first function
    fixChecksums(image);
    host_.Put(image);
    Cycle();
    EXPECT_EQ(Record().GetModuleMacAddresses(1)[0], MacAddress(sampleMac(3, 1)));
    EXPECT_TRUE(trace_.Has("PCI location does not match - SKIP."));
}

TEST_F(SyncTest, ARecordWithTextTechnologyKeepsItsPhysicalAddresses) {
    host_.Put(sample("text-technology-v10.fru"));
    Interface("ens3f0").permanent = {0x0A, 9, 9, 9, 9, 9};
    Cycle();
    EXPECT_EQ(Record().GetModuleMacAddresses(1)[0], MacAddress(sampleMac(3, 1)));
    EXPECT_FALSE(trace_.Has("mismatch"));
}

TEST_F(SyncTest, IpAddressesFollowTheInterfaces) {
    const auto ipv6 = [](std::uint8_t last) {
        return Bytes{0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, last};
    };
    network_.interfaces[1].primary = {{10, 0, 0, 1}, ipv6(1), {10, 0, 0, 2}};
    network_.interfaces[1].transient = {{10, 0, 0, 3}, ipv6(2), ipv6(1), ipv6(3)};
    network_.interfaces[2].state = 2;
    network_.interfaces.push_back(
        {.mac = Bytes(6, 0), .primary = {{10, 9, 9, 9}}, .transient = {}});
    network_.interfaces.push_back(
        {.mac = sampleMac(1, 1), .primary = {{10, 9, 9, 9}}, .transient = {}, .type = 24});
    network_.interfaces.push_back(
        {.mac = sampleMac(9, 9), .primary = {{10, 9, 9, 1}, {10, 9, 9, 2}}, .transient = {}});
    EXPECT_EQ(Cycle(), 1);
    EXPECT_EQ(trace_.Count("FAILED to assign IPv4 address"), 1) << "only the first one is tried";
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    krcp::setMember(request, "DA",
                    rapidjson::Value(R"({"ResultFilter":["Ipv4Addresses","Ipv6Addresses"]})"));
    module_.ModuleRequest(request);
    const std::string answer = contentOf(directory_.File("pnidump"));
    EXPECT_NE(answer.find(R"("Ipv4Addresses":[{"Address":"10.0.0.1"}],"Ipv6Addresses":)"
                          R"([{"Address":"2001:db8::101"},{"Address":"2001:db8::102"}])"),
              std::string::npos)
        << answer;
    EXPECT_EQ(answer.find("198.51.100.7"), std::string::npos) << "that interface is down";
    EXPECT_TRUE(trace_.Has("ERROR! Skipped invalid MAC address at interface 4"));
    EXPECT_TRUE(trace_.Has("...network interface 5 ignored - type is different from ethernet"));
    EXPECT_TRUE(trace_.Has("Networt interface is not UP[2], do not check IP"));
    EXPECT_EQ(Cycle(), 0);

    network_.interfaces = sampleInterfaces();
    EXPECT_EQ(Cycle(), 1);
    EXPECT_EQ(host_.Image(), original_) << "undone, byte for byte";
    network_.interfaces.resize(1);
    EXPECT_EQ(Cycle(), 1);
    network_.interfaces.clear();
    EXPECT_EQ(Cycle(), 1);
    EXPECT_EQ(host_.Image().size(), original_.size()) << "never written shorter than it was read";
}

TEST_F(SyncTest, AScanThatFailsChangesNothingAndIsTriedAgain) {
    network_.interfaces[0].primary = {{10, 0, 0, 1}};
    const std::string devices = machine_.Path("sys/bus/pci/devices");
    std::filesystem::rename(devices, devices + ".hidden");
    EXPECT_EQ(Cycle(), 0);
    EXPECT_TRUE(trace_.Has("GetLocalNetworkAdapters() : ScanSystemAdapters failed"));
    EXPECT_EQ(host_.Image(), original_);
    std::filesystem::rename(devices + ".hidden", devices);
    EXPECT_EQ(Cycle(), 1);
}

TEST_F(SyncTest, NothingIsAskedOrWrittenWhileTheHostShutsDown) {
    network_.interfaces.clear();
    module_.Notify(notification::switchShutdown, 0);
    EXPECT_EQ(Cycle(), 0);
    EXPECT_EQ(host_.Count(0x1700), 0);
    EXPECT_FALSE(trace_.Has("Start PNI update..."));
}

}  // namespace
}  // namespace em_pni::test
