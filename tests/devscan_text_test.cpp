#include <gtest/gtest.h>

#include "devscan/adapter_names.h"
#include "devscan/hardware_address.h"
#include "devscan/pci_text.h"

namespace em_pni {
namespace {

template <class Parser>
void expectRefused(Parser parse, const std::vector<const char*>& texts) {
    for (const char* const text : texts) {
        EXPECT_FALSE(parse(text)) << text;
    }
}

TEST(DevscanText, Addresses) {
    EXPECT_EQ(parsePciAddress("0000:03:1f.7"), (PciAddress{0, 3, 31, 7}));
    EXPECT_EQ(parsePciAddress("ffff:ff:00.0"), (PciAddress{0xFFFF, 0xFF, 0, 0}));
    expectRefused(parsePciAddress,
                  {"", "0000:03:00", "0000:03:20.0", "0000:03:00.8", "0000:100:00.0",
                   "10000:03:00.0", "0000:03:00.0 ", "0x00:03:00.0", "-1:03:00.0", ":::."});
    const std::string behind = "../../devices/pci0000:00/0000:00:01.0/0000:02:00.0/0000:03:04.1";
    EXPECT_EQ(pciAddressOfPath(behind + "/virtio2/net/eth0"), (PciAddress{0, 3, 4, 1}));
    EXPECT_EQ(pciBridgesOfPath(behind), (std::vector<PciAddress>{{0, 2, 0, 0}, {0, 0, 1, 0}}));
    // A function of a segment that cannot be represented is not the one that the segment hangs on.
    EXPECT_FALSE(pciAddressOfPath("pci0000:00/0000:00:0e.0/pci10000:e0/10000:e0:01.0/net/eth5"));

    EXPECT_EQ(parseMacAddress("02:fc:00:A0:00:01"), (MacAddress{2, 0xFC, 0, 0xA0, 0, 1}));
    expectRefused(parseMacAddress, {"00:00:00:00:00:00", "02:fc:00:00:00", "02:fc:00:00:00:01:02",
                                    "2:fc:00:00:00:001"});
    EXPECT_EQ(parseWorldWideName("0x10000090fa942779"),
              (WorldWideName{0x10, 0, 0, 0x90, 0xFA, 0x94, 0x27, 0x79}));
    expectRefused(parseWorldWideName,
                  {"0xffffffffffffffff", "0x0", "0x", "10000090fa942779", "0x110000090fa942779"});
}

TEST(DevscanText, Modalias) {
    const std::string good = "pci:v00001AF4d00001041sv00001AF5sd00001042bc02sc07i00\n";
    const auto function = parseModalias(good);
    ASSERT_TRUE(function);
    EXPECT_EQ(function->ids.subDevice, 0x1042);
    EXPECT_EQ(function->classCode, 0x0207);
    for (std::size_t length = 0; length < good.find('i', 4); ++length) {
        EXPECT_FALSE(parseModalias(good.substr(0, length))) << length;
    }
}

TEST(DevscanText, ProcPciDevicesAndConfigHeader) {
    std::string line = "0319\t80861521\t1f";
    for (int i = 0; i < 14; ++i) {
        line += "\t        f7a00000";
    }
    auto list = parseProcPciDevices(line + "\tigb\n" + "junk\n\n" + "0000\t80860d57\t0\n");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].address, (PciAddress{0, 3, 3, 1}));
    EXPECT_EQ(list[0].driver, "igb");
    std::string config(64, '\0');
    config.replace(0, 4, "\x86\x80\x21\x15");
    config.replace(0x0A, 5, std::string("\x00\x02\x10\x00\x80", 5));
    config.replace(0x2C, 4, "\xD9\x15\x34\x12");
    EXPECT_TRUE(applyConfigHeader(CByteView(config), list[0]));
    EXPECT_EQ(list[0].classCode, 0x0200);
    EXPECT_EQ(list[0].ids.subDevice, 0x1234);
    EXPECT_FALSE(applyConfigHeader(CByteView(config), list[1]));
}

TEST(DevscanText, RecordsOfCommands) {
    const auto lspci = parseLspciRecords(
        "Slot:\t10000:01:00.0\nClass:\t0200\nVendor:\t8086\nDevice:\t1521\n\n"
        "Slot:\t0001:03:00.0\nClass:\t0c04\nVendor:\t10df\nDevice:\tf100\nSVendor:\t10df\n"
        "SDevice:\tf120\n\n"
        "Slot:\t0000:04:00.0\nClass:\t0200\nVendor:\t8086\n");
    ASSERT_EQ(lspci.size(), 1U);
    EXPECT_EQ(lspci[0].address, (PciAddress{1, 3, 0, 0}));
    EXPECT_EQ(lspci[0].ids.subDevice, 0xF120);

    const auto localcli = parseLocalcliRecords(
        "0000:03:00.0\n   Address: 0000:03:00.0\n   Segment: 0x0000\n   Bus: 0x03\n   Slot: 0x1f\n"
        "   Function: 0x1\n   Vendor Name: Intel: the maker\n   Vendor ID: 0x8086\n"
        "   Device ID: 0x1521\n   SubVendor ID: 0x15d9\n   Device Class: 0x0200\n"
        "   Module Name: igbn\n   Physical Slot: 4294967295\n\n"
        "10000:01:00.0\nSegment: 0x10000\nBus: 0x01\nSlot: 0x00\nFunction: 0x0\n"
        "Vendor ID: 0x8086\nDevice ID: 0x1\nDevice Class: 0x0200\n");
    ASSERT_EQ(localcli.size(), 1U);
    EXPECT_EQ(localcli[0].address, (PciAddress{0, 3, 31, 1}));
    EXPECT_EQ(localcli[0].ids.subVendor, 0x15D9);
    EXPECT_EQ(localcli[0].slot, unknownSlot);

    EXPECT_EQ(deviceNameOfLspciLine("03:00.0 X [0207]: Mellanox MT27800 [ConnectX-5] [15b3:1017]"),
              "Mellanox MT27800");
    for (const char* const wrong : {"", "]:", "]: ", "03:00.0 X [0207]: no id", "[0207]"}) {
        EXPECT_EQ(deviceNameOfLspciLine(wrong), "") << wrong;
    }
}

}  // namespace
}  // namespace em_pni
