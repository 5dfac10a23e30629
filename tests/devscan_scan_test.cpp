// The scan of machines, the operations of an adapter, and the parsers of texts.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

#include "devscan/adapter_names.h"
#include "devscan/hardware_address.h"
#include "devscan/pci_text.h"
#include "tests/devscan_fake_machine.h"
#include "tests/trace_capture.h"

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
    // Adds functions 0 to `count` - 1 of an Ethernet card.
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
    // The driver fills its field without a NUL.
    const std::string firmware(ETHTOOL_FWVERS_LEN, 'f');
    machine.Net(
        cardFunction(0), "eth1",
        {.mac = mac(1), .permanent = mac(1), .firmware = firmware, .optionRom = "1.2 \x1Fx"});
    machine.File(dmiTable, smbiosSlot(4, {0, 3, 0, 0}));
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 2U);
    const AdapterFacts& first = adapters[0].Facts();
    EXPECT_EQ(first.headerType, 0x80);
    EXPECT_EQ(first.driver, "fake");
    EXPECT_EQ(first.firmware, firmware);
    EXPECT_EQ(first.optionRom, "1.2");
    EXPECT_EQ(first.slot, 4U);
    EXPECT_EQ(adapters[1].Facts().activeMac, mac(9));
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(2));
    EXPECT_EQ(adapters[1].Facts().interfaces, std::vector<std::string>{"eth0"});
}

TEST_F(DevscanScan, PartitionedCardWithSixteenFunctions) {
    for (int number = 0; number < 16; ++number) {
        const std::string device =
            rootPort + "/0000:03:0" + std::to_string(number / 8) + "." + std::to_string(number % 8);
        machine.Pci(device, 0x14E4, 0x16D6, 0x0200, "bnxt_en");
        machine.File("sys/devices/" + device + "/ari_enabled", "1\n");
        const MacAddress address = mac(static_cast<std::uint8_t>(number + 1));
        machine.Net(
            device, "eth" + std::to_string(number),
            {.mac = address, .permanent = address, .index = 20 - number, .port = number % 2});
    }
    machine.File(dmiTable, smbiosSlot(6, {0, 3, 0, 0}));
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 16U);
    for (std::size_t number = 0; number < 16; ++number) {
        EXPECT_EQ(adapters[number].Facts().slot, 6U) << number;
        EXPECT_EQ(adapters[number].Facts().permanentMac,
                  mac(static_cast<std::uint8_t>(number + 1)));
    }
}

// The first function shows only representors: its uplink is in another network namespace.
TEST_F(DevscanScan, RepresentorsLendNoAddress) {
    PlugNic(3);
    const auto port = [this](int function, const std::string& name, const std::string& portName,
                             const std::string& under = "") {
        const auto number = static_cast<std::uint8_t>(machine.interfaces->interfaces.size() + 1);
        machine.Net(cardFunction(function) + under, name,
                    {.mac = mac(number), .permanent = mac(number), .index = number});
        if (!portName.empty()) {
            machine.File("sys/class/net/" + name + "/phys_port_name", portName + "\n");
        }
    };
    port(0, "rep0", "pf0vf0");
    port(0, "rep1", "pf0vf1");
    port(1, "a-sf", "", "/mlx5_core.sf.4");
    port(1, "a-vdpa", "", "/mlx5_core.sf.5/vdpa0/virtio1");
    port(1, "a-sfrep", "pf1sf88");
    port(1, "a-controller", "c1pf0");
    port(1, "a-host", "pf1hpf");
    port(1, "a-pf", "pf1");
    port(1, "up.sf.1", "p1");
    port(2, "only", "pf2");
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 3U);
    EXPECT_TRUE(adapters[0].Facts().permanentMac.IsEmpty());
    EXPECT_TRUE(adapters[0].Facts().activeMac.IsEmpty());
    EXPECT_EQ(adapters[0].Facts().driver, "igb") << "from the link";
    EXPECT_EQ(adapters[1].Facts().interfaces, std::vector<std::string>{"up.sf.1"});
    EXPECT_EQ(adapters[2].Facts().permanentMac, mac(10));
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
    EXPECT_EQ(fibre.portName, WorldWideName{0x90FA942779});
    EXPECT_EQ(fibre.optionRom, "11.4 (boot)");
    EXPECT_EQ(fibre.firmware, "11.4.204");

    // Without a BIOS image.
    machine.File("sys/class/scsi_host/host9/optrom_bios_version", "0.00\n");
    machine.File("sys/class/scsi_host/host9/optrom_efi_version", "6.23\n");
    machine.File("sys/class/scsi_host/host9/fwrev", "\n");
    machine.File("sys/class/fc_host/host9/firmware_version", "9.1\n");
    EXPECT_EQ(machine.Scan().at(2).Facts().optionRom, "6.23");
    EXPECT_EQ(machine.Scan().at(2).Facts().firmware, "9.1");
    machine.File("sys/class/scsi_host/host9/optrom_efi_version", "0.00\n");
    machine.File("sys/class/scsi_host/host9/option_rom_version", "0.00\n");
    machine.File("sys/class/fc_host/host9/optionrom_version", "0.00\n");
    EXPECT_EQ(machine.Scan().at(2).Facts().optionRom, "");
}

TEST_F(DevscanScan, PermanentAddressesThatTheDriverDoesNotTell) {
    PlugNic(5);
    machine.Net(cardFunction(0), "eth0", {.mac = mac(7), .permanent = mac(1)});
    machine.Net(cardFunction(1), "eth1", {.mac = mac(7)});
    machine.File("sys/devices/" + cardFunction(1) + "/net/eth1/bonding_slave/perm_hwaddr",
                 "02:fc:00:00:00:02\n");
    // When the question fails, the permanent address stays unknown. It is not the bond's.
    machine.Net(cardFunction(2), "eth2", {.mac = mac(7), .error = EMFILE});
    machine.File("sys/devices/" + cardFunction(2) + "/net/eth2/type", "1\n");
    machine.File("sys/devices/" + cardFunction(2) + "/net/eth2/address", "02:fc:00:00:00:07\n");
    // A random address changes with each start. One that is set does not.
    machine.Net(cardFunction(3), "eth3", {.mac = mac(4), .optionRom = "0.00"});
    machine.File("sys/class/net/eth3/addr_assign_type", "1\n");
    machine.Net(cardFunction(4), "eth4", {.mac = mac(5)});
    machine.File("sys/class/net/eth4/addr_assign_type", "3\n");
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 5U);
    EXPECT_TRUE(adapters[3].Facts().permanentMac.IsEmpty());
    EXPECT_EQ(adapters[3].Facts().activeMac, mac(4));
    EXPECT_EQ(adapters[3].Facts().optionRom, "");
    EXPECT_EQ(adapters[4].Facts().permanentMac, mac(5));
    EXPECT_EQ(adapters[0].Facts().permanentMac, mac(1));
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(2));
    EXPECT_EQ(adapters[2].Facts().activeMac, mac(7));
    EXPECT_TRUE(adapters[2].Facts().permanentMac.IsEmpty());
}

TEST_F(DevscanScan, SeveralInterfacesOnOneFunction) {
    machine.Pci(cardFunction(0), 0x15B3, 0x1003, 0x0280);
    machine.Net(cardFunction(0), "a", {.mac = mac(1), .index = 2, .port = 1});
    machine.Net(cardFunction(0), "b", {.mac = mac(2), .index = 9, .port = 0});
    machine.Net(cardFunction(0), "c", {.mac = mac(3), .index = 4, .port = 0});
    machine.Net(cardFunction(0), "ib0", {.mac = mac(4), .type = 32, .index = 1, .port = 0});
    machine.Net(cardFunction(0), "random", {.mac = mac(5), .index = 3, .port = 0});
    machine.File("sys/class/net/random/addr_assign_type", "1\n");
    const AdapterFacts facts = machine.Scan().at(0).Facts();
    EXPECT_EQ(facts.permanentMac, mac(3));
    EXPECT_EQ(facts.interfaces.size(), 5U);
    EXPECT_EQ(facts.interfaces.front(), "c");
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
    // An entry without a device, and an attribute that would block.
    machine.Link("sys/bus/pci/devices/0000:09:00.0", "../../../devices/nothing");
    const std::string modalias = "sys/devices/" + cardFunction(2) + "/modalias";
    machine.Remove(modalias);
    ASSERT_EQ(::mkfifo(machine.Path(modalias).c_str(), 0600), 0);
    const auto adapters = machine.Scan();
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_TRUE(adapters[0].Facts().permanentMac.IsEmpty());
    EXPECT_EQ(adapters[1].Facts().permanentMac, mac(3));
}

// Each list has exactly one function that can be used.
TEST_F(DevscanScan, OtherSourcesWithoutSysfs) {
    const auto found = [this] {
        const auto adapters = machine.Scan();
        EXPECT_EQ(adapters.size(), 1U);
        return adapters.at(0).Facts();
    };
    std::string& lspci = machine.commands->answers["/usr/bin/lspci -D -n -vmm"];
    lspci =
        "Slot:\t10000:01:00.0\nClass:\t0200\nVendor:\t8086\nDevice:\t1521\n\n"
        "Slot:\t0001:03:00.0\nClass:\t0c04\nVendor:\t10df\nDevice:\tf100\nSVendor:\t10df\n"
        "SDevice:\tf120\n\n"
        "Slot:\t0000:04:00.0\nClass:\t0200\nVendor:\t8086\n";
    EXPECT_EQ(found().address, (PciAddress{1, 3, 0, 0}));
    EXPECT_EQ(found().ids.subDevice, 0xF120);

    lspci = "0000:04:00.0 Network controller: Intel\n";  // in another language
    std::string& localcli = machine.commands->answers["/sbin/localcli hardware pci list"];
    localcli =
        "0000:03:00.0\n   Address: 0000:03:00.0\n   Segment: 0x0000\n   Bus: 0x03\n   Slot: 0x1f\n"
        "   Function: 0x1\n   VMkernel Name: vmnic0\n   Vendor Name: Intel: the maker\n"
        "   Vendor ID: 0x8086\n   Device ID: 0x1521\n   SubVendor ID: 0x15d9\n"
        "   Device Class: 0x0200\n   Module Name: igbn\n   Physical Slot: 2\n\n"
        "10000:01:00.0\nSegment: 0x10000\nBus: 0x01\nSlot: 0x00\nFunction: 0x0\n"
        "Vendor ID: 0x8086\nDevice ID: 0x1\nDevice Class: 0x0200\n";
    EXPECT_EQ(found().address, (PciAddress{0, 3, 31, 1}));
    EXPECT_EQ(found().ids.subVendor, 0x15D9);
    EXPECT_EQ(found().interfaces, std::vector<std::string>{"vmnic0"});
    EXPECT_EQ(found().slot, 2U);
    EXPECT_EQ(found().driver, "igbn");
    localcli.replace(localcli.find("igbn"), 4, "None");
    EXPECT_EQ(found().driver, "");
    localcli.replace(localcli.find("Slot: 2"), 7, "Slot: 4294967295");
    EXPECT_EQ(found().slot, unknownSlot);

    std::string line = "0319\t80861521\t1f";
    for (int i = 0; i < 14; ++i) {
        line += "\t        f7a00000";
    }
    machine.File("proc/bus/pci/devices", line + "\tigb\njunk\n\n0301\t80861520\t0\n");
    std::string config(64, '\0');
    config.replace(0, 4, "\x86\x80\x21\x15");
    config.replace(0x0A, 5, std::string("\x00\x02\x10\x00\x80", 5));
    config.replace(0x2C, 4, "\xD9\x15\x34\x12");
    machine.File("proc/bus/pci/03/03.1", config);
    machine.File("proc/bus/pci/03/00.1", std::string(64, '\xFF'));  // a virtual function
    machine.File("proc/net/dev", "Inter-| Receive\n face |bytes\n    lo: 0 0\n  eth0: 1 2\n");
    machine.interfaces->interfaces["eth0"] = {.permanent = mac(1), .busAddress = "0000:03:03.1"};
    EXPECT_EQ(found().address, (PciAddress{0, 3, 3, 1}));
    EXPECT_EQ(found().driver, "fake") << "as the interface says";
    EXPECT_EQ(found().classCode, 0x0200);
    EXPECT_EQ(found().ids.subDevice, 0x1234);
    EXPECT_EQ(found().permanentMac, mac(1));
}

TEST_F(DevscanScan, InfinibandAdapters) {
    const std::string infiniband = "sys/devices/" + cardFunction(0) + "/infiniband";
    const std::string ports = infiniband + "/mlx5_0/ports/";
    machine.Pci(cardFunction(0), 0x15B3, 0x1017, 0x0280);
    machine.File(ports + "0/state", "4: ACTIVE\n");  // a port of an old kernel
    const CSystemAdapter card = machine.Scan().at(0);
    const test::CTraceCapture trace(5);
    EXPECT_FALSE(card.IsInfinibandAdapter());
    EXPECT_TRUE(trace.Has("No matched link_layer files. Not an infiniband adapter."));

    // Without ports, the class decides.
    AdapterFacts facts = card.Facts();
    const auto isInfiniband = [&](std::uint16_t classCode) {
        facts.classCode = classCode;
        return CSystemAdapter(facts, machine.Machine()).IsInfinibandAdapter();
    };
    EXPECT_TRUE(isInfiniband(pciClassInfiniband) && isInfiniband(pciClassInfinibandNetwork));
    machine.File(ports + "1/link_layer", "Ethernet\n");
    std::filesystem::create_directories(machine.Path(ports + "2/link_layer"));
    EXPECT_FALSE(card.IsInfinibandAdapter() || isInfiniband(pciClassInfinibandNetwork));
    EXPECT_TRUE(trace.Has("ERROR ## Could not open file "));
    machine.File(ports + "3/link_layer", "InfiniBand\n");
    EXPECT_TRUE(card.IsInfinibandAdapter());

    // A directory that cannot be listed is an error.
    machine.Remove(infiniband);
    machine.Link(infiniband, "infiniband");
    EXPECT_FALSE(card.IsInfinibandAdapter());
    EXPECT_TRUE(trace.Has("Could not glob infiniband node on device! Glob = "));
}

TEST_F(DevscanScan, NamesFromTheNameFile) {
    machine.File("opt/QuillonRT/vital/etc/qlagent/Adapter.ini",
                 "[8086]\nVendor =  Intel \n1521=I350\n15210001=I350 of a board\n"
                 "[15D9]\nvendor=Supermicro\n[ABCD]\nVendor=" +
                     std::string(300, 'n') + "\n");
    CAdapterNames& names = machine.Machine().Names();
    const AdapterNames exact = names.Find({0x8086, 0x1521, 0x15D9, 0x0001});
    EXPECT_EQ(exact.vendor, "Intel");
    EXPECT_EQ(exact.subVendor, "Supermicro");
    EXPECT_EQ(exact.device, "I350 of a board");
    EXPECT_EQ(names.Find({0x8086, 0x1521, 0x15D9, 0x0002}).device, "I350");
    EXPECT_TRUE(machine.commands->runs.empty());
    EXPECT_EQ(names.Find({0xABCD, 1, 0, 0}).vendor.size(), 260U);
}

TEST_F(DevscanScan, NamesFromLspciAreAskedForOnce) {
    const std::string command = "/sbin/lspci -nn -d 8086:5";
    const std::string second = "/usr/bin/lspci -nn -d 8086:5";
    machine.commands->answers[second + "2"] =
        "03:00.0 Ethernet controller [0200]: Intel I350 [8086:0052]\nmore\n";
    CAdapterNames& names = machine.Machine().Names();
    const test::CTraceCapture trace(2);
    EXPECT_EQ(names.Find({0x8086, 0x52, 0x15D9, 0xA}).device, "Intel I350");
    for (const char* const wrong : {"", "]:", "]: ", "03:00.0 X [0207]: no id", "[0207]"}) {
        EXPECT_EQ(deviceNameOfLspciLine(wrong), "") << wrong;
    }
    EXPECT_TRUE(
        trace.Has("WARNING! No vendor name found for vendor ID 0x8086 sub vendor ID 0x15D9!"));
    EXPECT_TRUE(trace.Has("GetPrivateProfileString: Cannot open "));
    const auto ask = [&names] {
        EXPECT_EQ(names.Find({0x8086, 0x52, 0, 0}).device, "Intel I350");
        EXPECT_EQ(names.Find({0x8086, 0x53, 0, 0}).device, "");
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(machine.commands->runs,
              (std::map<std::string, int>{
                  {command + "2", 1}, {command + "3", 1}, {second + "2", 1}, {second + "3", 1}}));
}

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
    // The segment is too high. The result must not be the parent with the lower segment.
    EXPECT_FALSE(pciAddressOfPath("pci0000:00/0000:00:0e.0/pci10000:e0/10000:e0:01.0/net/eth5"));

    EXPECT_EQ(parseMacAddress("02:fc:00:A0:00:01"), (MacAddress{2, 0xFC, 0, 0xA0, 0, 1}));
    expectRefused(parseMacAddress, {"00:00:00:00:00:00", "02:fc:00:00:00", "02:fc:00:00:00:01:02",
                                    "2:fc:00:00:00:001"});
    EXPECT_EQ(parseWorldWideName("0x10000090fa942779"), WorldWideName{0x10000090FA942779});
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

}  // namespace
}  // namespace em_pni
