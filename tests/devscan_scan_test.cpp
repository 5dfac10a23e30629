#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/devscan_fake_machine.h"

namespace em_pni {
namespace {

const std::string rootPort = "pci0000:00/0000:00:01.0";
constexpr const char* dmiTable = "sys/firmware/dmi/tables/DMI";

MacAddress mac(std::uint8_t last) {
    return {0x02, 0xFC, 0, 0, 0, last};
}

std::string cardFunction(int function) {
    return rootPort + "/0000:03:00." + std::to_string(function);
}

struct DevscanScan : testing::Test {
    // The functions 0 to `count` - 1 of an Ethernet card.
    void PlugNic(int count) {
        for (int function = 0; function < count; ++function) {
            machine.Pci(cardFunction(function), 0x8086, 0x1521, 0x0200, "igb");
        }
    }
    CFakeMachine machine;
};

TEST_F(DevscanScan, DualPortNic) {
    machine.Pci(rootPort, 0x8086, 0x1901, 0x0604, "pcieport");
    PlugNic(2);
    machine.Net(cardFunction(1), "eth0", {.mac = mac(9), .permanent = mac(2)});
    // The driver fills its field to the last byte.
    const std::string firmware(ETHTOOL_FWVERS_LEN, 'f');
    machine.Net(cardFunction(0), "eth1",
                {.mac = mac(1), .permanent = mac(1), .firmware = firmware, .optionRom = "1.2 "});
    machine.File(dmiTable, smbiosSlot(4, {0, 3, 0, 0}));
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 2U);
    const AdapterFacts& first = adapters[0].Facts();
    EXPECT_EQ(first.headerType, 0x80);
    EXPECT_EQ(first.driver, "igb");
    EXPECT_EQ(first.firmware, firmware);
    EXPECT_EQ(first.optionRom, "1.2");
    EXPECT_EQ(first.slot, 4U);
    EXPECT_EQ(adapters[1].Facts().activeMac, mac(9));
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(2));
    EXPECT_EQ(adapters[1].Facts().interfaces, std::vector<std::string>{"eth0"});
}

TEST_F(DevscanScan, SlotsOfCardsBehindABridgeOfTheirOwnAndOfOnboardDevices) {
    machine.Pci(rootPort + "/0000:03:00.0/0000:04:02.0/0000:05:00.3", 0x8086, 0x10BC, 0x0200);
    machine.File(dmiTable, smbiosSlot(3, {0, 0, 1, 0}));
    const std::string virtio = "pci0000:00/0000:00:03.0";
    machine.Pci(virtio, 0x1AF4, 0x1041, 0x0200, "virtio-pci");
    machine.Net(virtio + "/virtio2", "eth0", {.mac = mac(1)});
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_EQ(adapters[0].Facts().permanentMac, mac(1));
    EXPECT_EQ(adapters[0].Facts().slot, 0U);
    EXPECT_EQ(adapters[1].Facts().slot, 3U);
}

TEST_F(DevscanScan, ConvergedCardAndItsStorageFunction) {
    machine.Pci("pci0000:00/0000:00:17.0", 0x8086, 0xA182, 0x0106);
    machine.Pci(cardFunction(0), 0x10DF, 0x0720, 0x0200);
    machine.Pci(cardFunction(2), 0x10DF, 0x0722, 0x0100);
    machine.Pci(cardFunction(3), 0x10DF, 0x0724, 0x0C04);
    machine.FcHost(cardFunction(3), "host9", "0x20000090fa942779", "0x90fa942779");
    machine.FcHost(cardFunction(3) + "/host9/rport-9:0-1/vport-9:0-0", "host2", "0x3", "0x4");
    machine.File("sys/class/scsi_host/host9/optrom_bios_version", "\n");
    machine.File("sys/class/scsi_host/host9/option_rom_version", "11.4 (boot)\n");
    machine.File("sys/class/scsi_host/host9/fwrev", "11.4.204\n");
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 3U);
    const AdapterFacts& fibre = adapters[2].Facts();
    EXPECT_EQ(fibre.portName, (WorldWideName{0, 0, 0, 0x90, 0xFA, 0x94, 0x27, 0x79}));
    EXPECT_EQ(fibre.optionRom, "11.4 (boot)");
    EXPECT_EQ(fibre.firmware, "11.4.204");
}

TEST_F(DevscanScan, PermanentAddressOfBondMembers) {
    PlugNic(3);
    machine.Net(cardFunction(0), "eth0", {.mac = mac(7), .permanent = mac(1)});
    machine.Net(cardFunction(1), "eth1", {.mac = mac(7)});
    machine.File("sys/devices/" + cardFunction(1) + "/net/eth1/bonding_slave/perm_hwaddr",
                 "02:fc:00:00:00:02\n");
    // Unknown rather than the bond's: nobody could be asked.
    machine.Net(cardFunction(2), "eth2", {.mac = mac(7), .error = EMFILE});
    machine.File("sys/devices/" + cardFunction(2) + "/net/eth2/type", "1\n");
    machine.File("sys/devices/" + cardFunction(2) + "/net/eth2/address", "02:fc:00:00:00:07\n");
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 3U);
    EXPECT_EQ(adapters[0].Facts().permanentMac, mac(1));
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(2));
    EXPECT_EQ(adapters[2].Facts().activeMac, mac(7));
    EXPECT_FALSE(adapters[2].Facts().permanentMac);
}

TEST_F(DevscanScan, SeveralInterfacesOnOneFunction) {
    machine.Pci(cardFunction(0), 0x15B3, 0x1003, 0x0280);
    machine.Net(cardFunction(0), "a", {.mac = mac(1), .index = 2, .port = 1});
    machine.Net(cardFunction(0), "b", {.mac = mac(2), .index = 9, .port = 0});
    machine.Net(cardFunction(0), "c", {.mac = mac(3), .index = 4, .port = 0});
    machine.Net(cardFunction(0), "ib0", {.mac = mac(4), .type = 32, .index = 1, .port = 0});
    EXPECT_EQ(machine.Scan().at(0).Facts().permanentMac, mac(3));
}

TEST_F(DevscanScan, VirtualFunctionsAndHighSegmentsAreLeftOut) {
    machine.Pci(cardFunction(4), 0x8086, 0x1520, 0x0200);
    machine.Link("sys/devices/" + cardFunction(4) + "/physfn", "../0000:03:00.0");
    machine.Net(cardFunction(4), "vf0", {.mac = mac(5)});
    const std::string host = "pci0000:00/0000:00:0e.0";
    machine.Pci(host, 0x8086, 0x201D, 0x0200);
    machine.Pci(host + "/pci10000:00/10000:00:00.0", 0x8086, 0x1521, 0x0200);
    machine.Net(host + "/pci10000:00/10000:00:00.0", "eth5", {.mac = mac(6)});
    machine.interfaces->onCall = [](const std::string& name) { ADD_FAILURE() << name; };
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 1U);
    EXPECT_EQ(adapters[0].Address(), (PciAddress{0, 0, 14, 0}));
    EXPECT_TRUE(adapters[0].Facts().interfaces.empty());
}

TEST_F(DevscanScan, WhatVanishesOrFailsTakesNothingElseAlong) {
    PlugNic(3);
    machine.Net(cardFunction(0), "gone", {.mac = mac(1), .permanent = mac(1)});
    machine.Net(cardFunction(1), "stays", {.mac = mac(3), .permanent = mac(3)});
    machine.interfaces->onCall = [&](const std::string& name) {
        if (name != "stays") {
            machine.Remove("sys/class/net/" + name);
        }
    };
    // An entry without a device behind it, and an attribute that would never answer.
    machine.Link("sys/bus/pci/devices/0000:09:00.0", "../../../devices/nothing");
    const std::string modalias = "sys/devices/" + cardFunction(2) + "/modalias";
    machine.Remove(modalias);
    ASSERT_EQ(::mkfifo(machine.Path(modalias).c_str(), 0600), 0);
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_FALSE(adapters[0].Facts().permanentMac);
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(3));
}

TEST_F(DevscanScan, OtherSourcesWithoutSysfs) {
    std::string& lspci = machine.commands->answers["/sbin/lspci -D -n -vmm"];
    lspci = "Slot:\t0000:03:00.0\nClass:\t0c04\nVendor:\t10df\nDevice:\tf100\n";
    EXPECT_EQ(machine.Scan().at(0).Address().bus, 3);
    // A host whose lspci speaks another language.
    lspci = "0000:04:00.0 Network controller: Intel\n";
    machine.commands->answers["/sbin/localcli hardware pci list"] =
        "0000:04:00.0\nSegment: 0x0\nBus: 0x4\nSlot: 0x0\nFunction: 0x0\nVMkernel Name: vmnic0\n"
        "Vendor ID: 0x8086\nDevice ID: 0x1521\nDevice Class: 0x0200\nPhysical Slot: 2\n";
    EXPECT_EQ(machine.Scan().at(0).Facts().slot, 2U);
    EXPECT_EQ(machine.Scan().at(0).Facts().interfaces, std::vector<std::string>{"vmnic0"});

    machine.File("proc/bus/pci/devices", "0300\t80861521\t0\n0301\t80861520\t0\n");
    machine.File("proc/bus/pci/03/00.0",
                 std::string("\x86\x80\x21\x15\0\0\0\0\0\0\0\x02", 12) + std::string(52, '\0'));
    machine.File("proc/bus/pci/03/00.1", std::string(64, '\xFF'));  // a virtual function
    machine.File("proc/net/dev", "Inter-| Receive\n face |bytes\n    lo: 0 0\n  eth0: 1 2\n");
    machine.interfaces->interfaces["eth0"] = {.permanent = mac(1), .busAddress = "0000:03:00.0"};
    const auto found = machine.Scan();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].Facts().permanentMac, mac(1));
}

}  // namespace
}  // namespace em_pni
