#include <array>
#include <gtest/gtest.h>
#include <thread>

#include "tests/devscan_fake_machine.h"
#include "tests/trace_capture.h"

namespace em_pni {
namespace {

TEST(DevscanAdapter, Infiniband) {
    const std::string function = "pci0000:00/0000:00:01.0/0000:03:00.0";
    const std::string infiniband = "sys/devices/" + function + "/infiniband";
    const std::string ports = infiniband + "/mlx5_0/ports/";
    CFakeMachine machine;
    machine.Pci(function, 0x15B3, 0x1017, 0x0207);
    machine.File(ports + "0/state", "4: ACTIVE\n");  // a port of an old kernel
    const CSystemAdapter card = machine.Scan().at(0);
    const test::CTraceCapture trace(5);
    EXPECT_FALSE(card.IsInfinibandAdapter());
    EXPECT_TRUE(trace.Has("No matched link_layer files. Not an infiniband adapter."));

    machine.File(ports + "1/link_layer", "Ethernet\n");
    std::filesystem::create_directories(machine.Path(ports + "2/link_layer"));
    EXPECT_FALSE(card.IsInfinibandAdapter());
    EXPECT_TRUE(trace.Has("ERROR ## Could not open file "));
    machine.File(ports + "3/link_layer", "InfiniBand\n");
    EXPECT_TRUE(card.IsInfinibandAdapter());

    AdapterFacts facts;
    facts.classCode = pciClassInfiniband;
    EXPECT_TRUE(CSystemAdapter(facts, machine.Machine()).IsInfinibandAdapter());

    // A directory that cannot be listed is no "no".
    machine.Remove(infiniband);
    machine.Link(infiniband, "infiniband");
    EXPECT_FALSE(card.IsInfinibandAdapter());
    EXPECT_TRUE(trace.Has("Could not glob infiniband node on device! Glob = "));
}

TEST(DevscanAdapter, NamesFromTheNameFile) {
    CFakeMachine machine;
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

TEST(DevscanAdapter, NamesFromLspciAreAskedForOnce) {
    CFakeMachine machine;
    const std::string command = "/sbin/lspci -nn -d 8086:5";
    machine.commands->answers[command + "2"] =
        "03:00.0 Ethernet controller [0200]: Intel I350 [8086:0052]\nmore\n";
    CAdapterNames& names = machine.Machine().Names();
    const test::CTraceCapture trace(2);
    EXPECT_EQ(names.Find({0x8086, 0x52, 0x15D9, 0xA}).device, "Intel I350");
    EXPECT_TRUE(
        trace.Has("WARNING! No vendor name found for vendor ID 0x8086 sub vendor ID 0x15D9!"));
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            EXPECT_EQ(names.Find({0x8086, 0x52, 0, 0}).device, "Intel I350");
            EXPECT_EQ(names.Find({0x8086, 0x53, 0, 0}).device, "");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(machine.commands->runs,
              (std::map<std::string, int>{{command + "2", 1}, {command + "3", 1}}));
}

}  // namespace
}  // namespace em_pni
