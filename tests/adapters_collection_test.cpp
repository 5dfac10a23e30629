#include <gtest/gtest.h>

#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"

namespace em_pni {
namespace {

constexpr const char* rootPort = "pci0000:00/0000:00:01.0";

std::string cardFunction(int bus, int function) {
    return std::string(rootPort) + "/0000:0" + std::to_string(bus) + ":00." +
           std::to_string(function);
}

MacAddress mac(std::uint8_t last) {
    return {2, 0, 0, 0, 0, last};
}

struct AdaptersCollection : testing::Test {
    AdaptersCollection() {
        host.Count(0);
        machine.Pci(rootPort, 0x8086, 0x1901, 0x0604, "pcieport");
    }
    std::vector<LocalPniAdapterHandle> Collect() {
        return LocalPniAdapterHandle::GetLocalNetworkAdapters(machine.Machine(), &host, 0);
    }
    CFakeMachine machine;
    CScriptedConnection host;
};

TEST_F(AdaptersCollection, EveryFunctionOfACardIsAPort) {
    machine.Pci(cardFunction(3, 1), 0x8086, 0x1521, 0x0200);
    machine.Pci(cardFunction(3, 0), 0x8086, 0x1521, 0x0200);
    machine.Net(cardFunction(3, 0), "eth0", {.mac = mac(9), .permanent = mac(1)});
    const auto handles = Collect();
    ASSERT_EQ(handles.size(), 1U);
    const LocalPniAdapter& adapter = handles[0].Get();
    const auto& ports = adapter.GetLocalPniPortAreaList();
    ASSERT_EQ(ports.size(), 2U);
    for (std::uint32_t number = 0; number < 2; ++number) {
        EXPECT_EQ(ports[number]->IsLast(), number == 1);
        const auto& functions = ports[number]->GetLocalPniPortFunctionAreaList();
        ASSERT_EQ(functions.size(), 1U);
        EXPECT_EQ(functions[0]->GetPciPFA(), 0x0300 + number);
    }
    const auto addresses = adapter.GetFuncPhysicalAddress();
    ASSERT_EQ(addresses.size(), 2U);
    EXPECT_EQ(addresses[0].mac, (std::vector<std::uint8_t>{2, 0, 0, 0, 0, 1}));
    EXPECT_TRUE(addresses[1].mac.empty());
}

TEST_F(AdaptersCollection, ConvergedCardIsAFibreChannelAdapter) {
    machine.Pci(cardFunction(3, 0), 0x10DF, 0x0720, 0x0200);
    machine.Pci(cardFunction(3, 2), 0x10DF, 0x0722, 0x0100);
    machine.Pci(cardFunction(3, 3), 0x10DF, 0x0724, 0x0C04);
    machine.FcHost(cardFunction(3, 3), "host9", "0x20000090fa942779", "0x10000090fa942779");
    const auto handles = Collect();
    ASSERT_EQ(handles.size(), 1U);
    EXPECT_NE(dynamic_cast<const FC_LocalPniAdapter*>(&handles[0].Get()), nullptr);
    const auto addresses = handles[0].Get().GetFuncPhysicalAddress();
    ASSERT_EQ(addresses.size(), 3U);
    EXPECT_EQ(addresses[2].wwpn, 0x10000090FA942779U);
    EXPECT_EQ(addresses[2].wwnn, 0x20000090FA942779U);
}

TEST_F(AdaptersCollection, SkipsWhatIsNoPniAdapter) {
    machine.Pci(cardFunction(3, 0), 0x15B3, 0x1003, 0x0280);
    machine.File("sys/bus/pci/devices/0000:03:00.0/infiniband/mlx4_0/ports/1/link_layer",
                 "InfiniBand\n");
    machine.Pci(cardFunction(4, 0), 0x15B3, 0x1003, 0x0C06);
    EXPECT_TRUE(Collect().empty());
    // One Ethernet function does not make a card with an InfiniBand function a network card.
    machine.Pci(cardFunction(3, 1), 0x15B3, 0x1003, 0x0200);
    EXPECT_TRUE(Collect().empty());
    machine.Pci(cardFunction(5, 0), 0x8086, 0x1521, 0x0200);
    EXPECT_EQ(Collect().size(), 1U);
}

TEST_F(AdaptersCollection, SilentHostCostsOnlyTheEthernetAdapters) {
    machine.Pci(cardFunction(3, 0), 0x8086, 0x1521, 0x0200);
    machine.Pci(cardFunction(4, 0), 0x10DF, 0xF100, 0x0C04);
    EXPECT_EQ(Collect().size(), 2U);
    host.OnDocument(0x1700, 0, 0, "unanswered");
    const auto handles = Collect();
    ASSERT_EQ(handles.size(), 1U);
    EXPECT_NE(dynamic_cast<const FC_LocalPniAdapter*>(&handles[0].Get()), nullptr);
}

TEST_F(AdaptersCollection, NoAdaptersAreAnAnswerAndNoScanIsNone) {
    EXPECT_TRUE(Collect().empty());
    CFakeMachine unreadable;
    EXPECT_THROW(
        (void)LocalPniAdapterHandle::GetLocalNetworkAdapters(unreadable.Machine(), &host, 0),
        std::runtime_error);
}

TEST_F(AdaptersCollection, GroupsFunctionsByDevice) {
    std::vector<CSystemAdapter> adapters;
    const auto add = [&](const PciAddress& address, std::uint32_t slot) {
        adapters.emplace_back(nicFacts(address, slot), machine.Machine());
    };
    add({0, 5, 0, 1}, 1);
    add({1, 5, 0, 0}, 2);
    add({0, 0xFF, 0xFF, 0xFF}, 3);
    add({0, 5, 0, 0}, 4);
    add({0, 5, 0, 1}, 5);
    const auto devices = groupByDevice(adapters);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].Id().Key(), 0x0500U);
    EXPECT_EQ(devices[1].Id().Key(), 0x10500U);
    ASSERT_EQ(devices[0].Functions().size(), 2U);
    EXPECT_EQ(devices[0].Functions().at(1).Facts().slot, 1U);
}

TEST_F(AdaptersCollection, EmptyHandles) {
    const DeviceToAdaptersMap empty({0, 3, 0});
    const LocalPniAdapterHandle handle(empty, &host, 0);
    EXPECT_FALSE(LocalPniAdapterHandle(handle).HasAdapter());
    EXPECT_THROW((void)handle.Get(), std::logic_error);
}

}  // namespace
}  // namespace em_pni
