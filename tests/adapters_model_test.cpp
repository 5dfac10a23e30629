#include <gtest/gtest.h>

#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"

namespace em_pni {
namespace {

struct AdaptersModel : testing::Test {
    AdaptersModel() {
        host.Count(1);
        host.Ethernet(0, {2, 0, 0, 0, 2, 0});
        host.On(0x170C, 0, 0, "25000000");
    }
    NIC_LocalPniPortFunctionArea Function(const AdapterFacts& of) {
        return {0, CSystemAdapter(of, machine.Machine()), true, &context};
    }
    NIC_LocalPniPortArea Port(const AdapterFacts& of) {
        return {0, CSystemAdapter(of, machine.Machine()), true, &context};
    }
    CFakeMachine machine;
    CScriptedConnection host;
    NetInterfaceConnectionContext context{&host, 0};
    const AdapterFacts facts = nicFacts({0, 3, 0, 0});
};

TEST_F(AdaptersModel, ModuleFollowsTheFirstKnownSlot) {
    const struct {
        std::uint32_t first, second;
        std::uint8_t type;
    } cases[] = {
        {unknownSlot, 3, 2},
        {7, 0, 2},
        {0, 7, 0},
    };
    for (const auto& one : cases) {
        const auto device = deviceOf(
            machine, {nicFacts({0, 3, 0, 0}, one.first), nicFacts({0, 3, 0, 1}, one.second)});
        const FC_LocalPniModuleArea module(2, device.Functions(), {});
        EXPECT_EQ(module.GetModuleType(), one.type);
    }
}

TEST_F(AdaptersModel, IdsThatAreMissing) {
    const struct {
        PciIds ids;
        std::uint8_t headerType;
        std::uint32_t device, subDevice;
    } cases[] = {
        {{0xFFFF, 0x1521, 0xFFFF, 0x0001}, 0, 0, 0},
        {{0, 0x1521, 0, 0x0001}, 0, 0, 0},
        {{0xFFFE, 0, 0x0001, 0}, 0, 0xFFFE0000, 0x00010000},
        {{0x8086, 0x1901, 0x15D9, 0x0001}, 0x81, 0x80861901, 0},
    };
    for (const auto& one : cases) {
        AdapterFacts changed = facts;
        changed.ids = one.ids;
        changed.headerType = one.headerType;
        EXPECT_EQ(Function(changed).GetVendorDeviceId(), one.device);
        EXPECT_EQ(Function(changed).GetSubVendorDeviceId(), one.subDevice);
    }
}

TEST_F(AdaptersModel, AddressesAndSpeed) {
    EXPECT_EQ(Function(nicFacts({0x1234, 0xAB, 0x1F, 7})).GetPciPFA(), 0x1234ABFFU);
    EXPECT_EQ(Function(nicFacts({7, 0xFF, 0xFF, 0xFF})).GetPciPFA(), 0U);
    EXPECT_EQ(Function(facts).GetSpeed(), 0x8002);
    // Nobody's address is not the one of the host's first interface.
    AdapterFacts silent = facts;
    silent.activeMac.reset();
    silent.permanentMac.reset();
    EXPECT_EQ(Function(silent).GetSpeed(), 0);
}

TEST_F(AdaptersModel, ClonesLiveWithoutTheirOriginals) {
    auto original = std::make_unique<LocalPniAdapterHandle>(
        deviceOf(machine, {facts, nicFacts({0, 3, 0, 1})}), &host, 0);
    const LocalPniAdapterHandle copy(*original);
    const std::vector<std::uint8_t> stream = original->Get().ToPniFruDataStreamModule();
    original->Get().CleanupAll();
    original.reset();
    EXPECT_EQ(copy.Get().ToPniFruDataStreamModule(), stream);
}

TEST_F(AdaptersModel, AdaptersThatAreNotWhole) {
    const auto device = deviceOf(machine, {facts});
    NIC_LocalPniAdapter adapter(device, &host, 0);
    const auto function = Function(facts);
    auto port = Port(facts);
    port.AddLocalPniPortFunctionArea(&function);
    EXPECT_THROW((void)adapter.GetLocalPniModuleArea(), std::logic_error);
    EXPECT_THROW((void)adapter.ToPniFruDataStreamModule(), std::logic_error);
    const NIC_LocalPniModuleArea area(1, device.Functions(), &context);
    adapter.SetLocalPniModuleArea(&area);
    adapter.AddLocalPniPortArea(&port);
    adapter.AddLocalPniPortArea(&port);
    const auto& ports = adapter.GetLocalPniPortAreaList();
    ASSERT_EQ(ports.size(), 2U);
    ports[1]->CleanupAll();
    EXPECT_EQ(ports[0]->GetLocalPniPortFunctionAreaList().size(), 1U);
    EXPECT_THROW((void)adapter.GetLocalPniPortAreaList(), std::logic_error);
    // Collecting again puts it right and leaves nothing of before.
    adapter.Collect();
    EXPECT_EQ(adapter.GetLocalPniPortAreaList().size(), 1U);
    host.OnDocument(0x1700, 0, 0, "unanswered");
    EXPECT_THROW(adapter.Collect(), std::runtime_error);
    EXPECT_TRUE(adapter.IsValid());
}

TEST_F(AdaptersModel, RefusesWhatCannotBeTakenOver) {
    NIC_LocalPniAdapter adapter(deviceOf(machine, {facts}), &host, 0);
    auto port = Port(facts);
    EXPECT_THROW(adapter.SetLocalPniModuleArea(nullptr), std::logic_error);
    EXPECT_THROW(adapter.AddLocalPniPortArea(nullptr), std::logic_error);
    EXPECT_THROW(port.AddLocalPniPortFunctionArea(nullptr), std::logic_error);
    int clones = 2;
    const COddFunction odd(CSystemAdapter(facts, machine.Machine()), 98, "", &clones);
    port.AddLocalPniPortFunctionArea(&odd);
    adapter.AddLocalPniPortArea(&port);
    EXPECT_THROW(port.AddLocalPniPortFunctionArea(&odd), std::logic_error);
    EXPECT_THROW((void)adapter.Clone(), std::logic_error);
}

}  // namespace
}  // namespace em_pni
