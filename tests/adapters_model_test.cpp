#include <gtest/gtest.h>

#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"
#include "tests/trace_capture.h"

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
        const char* name;
    } cases[] = {
        {unknownSlot, 3, 2, "LAN PCI Card"},
        {7, 0, 2, "LAN PCI Card"},
        {0, 7, 0, "Onboard LAN"},
        {unknownSlot, unknownSlot, 255, "LAN"},
    };
    test::CTraceCapture trace(2);
    for (const auto& one : cases) {
        const auto device = deviceOf(
            machine, {nicFacts({0, 3, 0, 0}, one.first), nicFacts({0, 3, 0, 1}, one.second)});
        const FC_LocalPniModuleArea module(2, device.Functions(), {});
        EXPECT_EQ(module.GetModuleType(), one.type);
        EXPECT_EQ(module.GetModuleName(), one.name);
    }
    EXPECT_TRUE(
        trace.Has("EM_PNI FC_LocalPniModuleArea::GetAdapterSlotNo() : WARNGING - Could not get PCI "
                  "Slot No."));
}

TEST_F(AdaptersModel, IdsThatAreMissing) {
    const struct {
        PciIds ids;
        std::uint8_t headerType;
        std::uint32_t device, subDevice;
    } cases[] = {
        {{0x8086, 0x1521, 0x15D9, 0x0001}, 0x80, 0x80861521, 0x15D90001},
        {{0xFFFF, 0x1521, 0xFFFF, 0x0001}, 0, 0, 0},
        {{0, 0x1521, 0, 0x0001}, 0, 0, 0},
        {{0xFFFE, 0, 0x0001, 0}, 0, 0xFFFE0000, 0x00010000},
        {{0x8086, 0x1901, 0x15D9, 0x0001}, 0x81, 0x80861901, 0},
    };
    test::CTraceCapture trace(2);
    for (const auto& one : cases) {
        AdapterFacts changed = facts;
        changed.ids = one.ids;
        changed.headerType = one.headerType;
        EXPECT_EQ(Function(changed).GetVendorDeviceId(), one.device);
        EXPECT_EQ(Function(changed).GetSubVendorDeviceId(), one.subDevice);
    }
    EXPECT_EQ(
        trace.Count(
            "NIC_LocalPniPortFunctionArea::GetSubVendorDeviceId() : Could not get SubVendorID!"),
        3);
}

TEST_F(AdaptersModel, AddressesAndSpeed) {
    EXPECT_EQ(Function(nicFacts({0x1234, 0xAB, 0x1F, 7})).GetPciPFA(), 0x1234ABFFU);
    EXPECT_EQ(Function(nicFacts({7, 0xFF, 0xFF, 0xFF})).GetPciPFA(), 0U);
    EXPECT_EQ(Function(facts).GetSpeed(), 0x8002);
    // Nobody's address is not the one of the host's first interface.
    AdapterFacts silent = facts;
    silent.activeMac.reset();
    silent.permanentMac.reset();
    const int before = host.Asked(0x170C);
    EXPECT_EQ(Function(silent).GetSpeed(), 0);
    EXPECT_EQ(host.Asked(0x170C), before);
    EXPECT_TRUE(Function(silent).GetPhysicalAddress().mac.empty());

    test::CTraceCapture trace(2);
    const FC_LocalPniPortFunctionArea nameless(0, CSystemAdapter(facts, machine.Machine()), true,
                                               {});
    EXPECT_EQ(nameless.GetActivePortWWNAddressAscii(), "0000000000000000");
    EXPECT_TRUE(
        trace.Has("FC_LocalPniPortFunctionArea::GetActivePortWWNAddress() : ERROR! Could "
                  "not get WWPN Address!"));
}

TEST_F(AdaptersModel, ClonesLiveWithoutTheirOriginals) {
    auto original = std::make_unique<LocalPniAdapterHandle>(
        deviceOf(machine, {facts, nicFacts({0, 3, 0, 1})}), &host, 0);
    const LocalPniAdapterHandle copy(*original);
    EXPECT_NE(&copy.Get(), &original->Get());
    const std::vector<std::uint8_t> stream = original->Get().ToPniFruDataStreamModule();
    original->Get().CleanupAll();
    EXPECT_FALSE(original->Get().IsValid());
    original.reset();
    EXPECT_EQ(copy.Get().ToPniFruDataStreamModule(), stream);
    std::uint32_t slot = 0;
    EXPECT_TRUE(copy.Get().GetLocalPniModuleArea().GetAdapterSlotNo(slot));
    EXPECT_EQ(copy.Get().GetLocalPniPortAreaList().size(), 2U);
    EXPECT_EQ(dynamic_cast<const NIC_LocalPniAdapter&>(copy.Get()).DeviceKey(), 0x0300U);
}

TEST_F(AdaptersModel, AdaptersThatAreNotWhole) {
    const auto device = deviceOf(machine, {facts});
    NIC_LocalPniAdapter adapter(device, &host, 0);
    const auto function = Function(facts);
    const auto empty = Port(facts);
    auto port = Port(facts);
    port.AddLocalPniPortFunctionArea(&function);
    const std::string noModule =
        "LocalPniAdapter::GetLocalPniModuleArea() : Called on invalid object.";
    const auto module = [&] { (void)adapter.GetLocalPniModuleArea(); };
    EXPECT_THROW(module(), std::logic_error);
    EXPECT_EQ(textOfException(module), noModule);
    EXPECT_EQ(textOfException([&] { (void)adapter.ToPniFruDataStreamModule(); }), noModule);

    const NIC_LocalPniModuleArea area(1, device.Functions(), &context);
    adapter.SetLocalPniModuleArea(&area);
    adapter.AddLocalPniPortArea(&port);
    adapter.AddLocalPniPortArea(&port);
    const auto& ports = adapter.GetLocalPniPortAreaList();
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_NE(ports[0], ports[1]);
    ports[0]->MarkLast();
    ports[1]->CleanupAll();
    EXPECT_EQ(ports[0]->GetLocalPniPortFunctionAreaList().size(), 1U);
    test::CTraceCapture trace(3);
    EXPECT_EQ(textOfException([&] { (void)adapter.GetLocalPniPortAreaList(); }),
              "LocalPniAdapter::GetLocalPniPortAreaList() : Called on invalid object.");
    EXPECT_TRUE(trace.Has("EM_PNI LocalPniAdapter::IsValid() : Ret. FALSE - Port area invalid."));
    // Collecting again puts it right and leaves nothing of before.
    adapter.Collect();
    EXPECT_EQ(adapter.GetLocalPniPortAreaList().size(), 1U);
    host.OnDocument(0x1700, 0, 0, "unanswered");
    EXPECT_THROW(adapter.Collect(), std::runtime_error);
    EXPECT_TRUE(adapter.IsValid());
    adapter.AddLocalPniPortArea(&empty);
    EXPECT_FALSE(adapter.IsValid());
}

TEST_F(AdaptersModel, RefusesWhatCannotBeTakenOver) {
    const std::string prefix = "LocalPniAdapter::";
    NIC_LocalPniAdapter adapter(deviceOf(machine, {facts}), &host, 0);
    auto port = Port(facts);
    test::CTraceCapture trace(1);
    EXPECT_EQ(textOfException([&] { adapter.SetLocalPniModuleArea(nullptr); }),
              prefix + "SetLocalPniModuleArea() : Called with NULL parameter.");
    EXPECT_EQ(textOfException([&] { adapter.AddLocalPniPortArea(nullptr); }),
              prefix + "AddLocalPniPortArea() : Called with NULL parameter.");
    EXPECT_THROW(port.AddLocalPniPortFunctionArea(nullptr), std::logic_error);
    EXPECT_EQ(trace.Count("() : ERROR! Exception generated..."), 3);
    int clones = 2;
    const COddFunction odd(CSystemAdapter(facts, machine.Machine()), 98, "", &clones);
    port.AddLocalPniPortFunctionArea(&odd);
    adapter.AddLocalPniPortArea(&port);
    EXPECT_EQ(textOfException([&] { port.AddLocalPniPortFunctionArea(&odd); }),
              "LocalPniPortArea::AddLocalPniPortFunctionArea() : Could not clone port area.");
    EXPECT_EQ(textOfException([&] { (void)adapter.Clone(); }),
              "LocalPniPortArea::CopyCtor() : Could not clone port area.");
}

}  // namespace
}  // namespace em_pni
