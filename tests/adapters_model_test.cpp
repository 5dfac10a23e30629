// From the machine's functions to the bytes of a module.
#include "adapters/function_specific_area.h"
#include "frudata/pni_fru.h"
#include "tests/adapters_fixture.h"

namespace em_pni {
namespace {

using test::joined;
using test::textBytes;

const Bytes ipv6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0xFF, 0xFE, 0, 2, 0};

// The host's second interface has the active MAC of `facts`.
struct AdaptersModel : AdaptersFixture {
    AdaptersModel() {
        machine.Pci("pci0000:00/0000:00:01.0", 0x8086, 0x1901, 0x0604, "pcieport");
        host.answers[{0x1700, 0, 0}] = reply("2");
        host.Ethernet(0, {2, 0, 0, 0, 9, 9});
        host.Ethernet(1, {2, 0, 0, 0, 2, 0});
        host.answers[{0x170C, 0, 0}] = reply("1000");
        host.answers[{0x170C, 0, 1}] = reply("25000000");
    }
    // Adds the function to the machine and returns its path.
    std::string Plug(const std::string& address, unsigned vendor, unsigned id, unsigned classCode) {
        std::string path = "pci0000:00/0000:00:01.0/0000:" + address;
        machine.Pci(path, vendor, id, classCode);
        return path;
    }
    std::vector<LocalPniAdapterHandle> Collect() {
        return LocalPniAdapterHandle::GetLocalNetworkAdapters(machine.Machine(), &host, 0);
    }
    NIC_LocalPniPortFunctionArea Function(const AdapterFacts& of) {
        return {0, Adapter(of), true, shared};
    }
    // The module as bytes. Checks that a record with this module is valid.
    Bytes StreamOf(const std::vector<AdapterFacts>& functions) {
        const LocalPniAdapterHandle handle(Device(functions), &host, 0);
        Bytes stream = handle.Get().ToPniFruDataStreamModule();
        Bytes image = test::recordImage(12, {stream});
        image[26] |= 0x80;
        test::fixChecksums(image);
        EXPECT_EQ(pniValidateFru(image.data(), image.size()), PNI_SUCCESS);
        return stream;
    }
    const AdapterFacts facts = nicFacts({0, 3, 0, 0});
};

TEST_F(AdaptersModel, ConvergedCardIsAFibreChannelAdapter) {
    Plug("03:00.0", 0x10DF, 0x0720, 0x0200);
    Plug("03:00.2", 0x10DF, 0x0722, 0x0100);
    machine.FcHost(Plug("03:00.3", 0x10DF, 0x0724, 0x0C04), "host9", "0x20000090fa942779",
                   "0x10000090fa942779");
    const auto handles = Collect();
    ASSERT_EQ(handles.size(), 1U);
    EXPECT_NE(dynamic_cast<const FC_LocalPniAdapter*>(&handles[0].Get()), nullptr);
    const auto addresses = handles[0].Get().GetFuncPhysicalAddress();
    ASSERT_EQ(addresses.size(), 3U);
    EXPECT_EQ(addresses[2].wwpn, 0x10000090FA942779U);
}

TEST_F(AdaptersModel, SkipsWhatIsNoPniAdapter) {
    machine.File("sys/devices/" + Plug("03:00.0", 0x15B3, 0x1003, 0x0280) +
                     "/infiniband/mlx4_0/ports/1/link_layer",
                 "InfiniBand\n");
    Plug("04:00.0", 0x15B3, 0x1003, 0x0C06);
    EXPECT_TRUE(Collect().empty());
    // A card with an InfiniBand and an Ethernet function is not a network card.
    Plug("03:00.1", 0x15B3, 0x1003, 0x0200);
    EXPECT_TRUE(Collect().empty());
    Plug("05:00.0", 0x8086, 0x1521, 0x0200);
    EXPECT_EQ(Collect().size(), 1U);
}

TEST_F(AdaptersModel, SilentHostCostsOnlyTheEthernetAdapters) {
    Plug("03:00.0", 0x8086, 0x1521, 0x0200);
    Plug("04:00.0", 0x10DF, 0xF100, 0x0C04);
    EXPECT_EQ(Collect().size(), 2U);
    host.answers[{0x1700, 0, 0}] = "";
    const auto handles = Collect();
    ASSERT_EQ(handles.size(), 1U);
    EXPECT_EQ(handles[0].DeviceId().bus, 4);
    machine.Remove("sys/bus/pci/devices");
    EXPECT_THROW(Collect(), std::runtime_error);
}

TEST_F(AdaptersModel, GroupsFunctionsByDevice) {
    const auto devices =
        groupByDevice({Adapter(nicFacts({0, 5, 0, 1}, 1)), Adapter(nicFacts({1, 5, 0, 0}, 2)),
                       Adapter(nicFacts({0, 0xFF, 0xFF, 0xFF}, 3)),
                       Adapter(nicFacts({0, 5, 0, 0}, 4)), Adapter(nicFacts({0, 5, 0, 1}, 5))});
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].Id(), (DeviceToAdaptersMapID{0, 5, 0}));
    EXPECT_EQ(devices[1].Id(), (DeviceToAdaptersMapID{1, 5, 0}));
    ASSERT_EQ(devices[0].Functions().size(), 2U);
    EXPECT_EQ(devices[0].Functions().at(1).Facts().slot, 1U);
}

TEST_F(AdaptersModel, ModuleFollowsTheFirstKnownSlot) {
    const auto typeOf = [this](std::uint32_t first, std::uint32_t second) {
        const FC_LocalPniModuleArea area(std::make_shared<const DeviceToAdaptersMap>(
            Device({nicFacts({0, 3, 0, 0}, first), nicFacts({0, 3, 0, 1}, second)})));
        return area.GetModuleType();
    };
    EXPECT_EQ(typeOf(unknownSlot, 3), ModuleType::pciAddIn);
    EXPECT_EQ(typeOf(7, 0), ModuleType::pciAddIn);
    EXPECT_EQ(typeOf(0, 7), ModuleType::onboard);
}

TEST_F(AdaptersModel, IdsThatAreMissing) {
    using Ids = std::pair<std::uint32_t, std::uint32_t>;
    const auto idsOf = [this](const PciIds& ids, std::uint8_t headerType) {
        AdapterFacts changed = facts;
        changed.ids = ids;
        changed.headerType = headerType;
        return Ids(Function(changed).GetVendorDeviceId(), Function(changed).GetSubVendorDeviceId());
    };
    EXPECT_EQ(idsOf({0xFFFF, 0x1521, 0xFFFF, 0x0001}, 0), Ids(0, 0));
    EXPECT_EQ(idsOf({0, 0x1521, 0, 0x0001}, 0), Ids(0, 0));
    EXPECT_EQ(idsOf({0xFFFE, 0, 0x0001, 0}, 0), Ids(0xFFFE0000, 0x00010000));
    EXPECT_EQ(idsOf({0x8086, 0x1901, 0x15D9, 0x0001}, 0x81), Ids(0x80861901, 0));
}

TEST_F(AdaptersModel, AddressesAndSpeed) {
    EXPECT_EQ(Function(nicFacts({0x1234, 0xAB, 0x1F, 7})).GetPciPFA(), 0x1234ABFFU);
    EXPECT_EQ(Function(nicFacts({7, 0xFF, 0xFF, 0xFF})).GetPciPFA(), 0U);
    const std::pair<const char*, int> speeds[] = {{"999999", 999},      {"1000000", 0x4001},
                                                  {"9999999", 0x4009},  {"10000000", 0x8001},
                                                  {"25000000", 0x8002}, {"163840000000", 0x8000}};
    for (const auto& [speed, code] : speeds) {
        host.answers[{0x170C, 0, 1}] = reply(speed);
        EXPECT_EQ(Function(facts).GetSpeed(), code) << speed;
    }
    // Without an address the speed of the first interface must not be used.
    AdapterFacts silent = facts;
    silent.activeMac = {};
    EXPECT_EQ(Function(silent).GetSpeed(), 0);
}

TEST_F(AdaptersModel, ClonesLiveWithoutTheirOriginals) {
    auto original =
        std::make_unique<LocalPniAdapterHandle>(Device({facts, nicFacts({0, 3, 0, 1})}), &host, 0);
    const LocalPniAdapterHandle copy(*original);
    const Bytes stream = original->Get().ToPniFruDataStreamModule();
    original->Get().CleanupAll();
    original.reset();
    EXPECT_EQ(copy.Get().ToPniFruDataStreamModule(), stream);
    const LocalPniAdapterHandle empty(DeviceToAdaptersMap({0, 3, 0}), &host, 0);
    EXPECT_FALSE(LocalPniAdapterHandle(empty).HasAdapter());
    EXPECT_THROW((void)empty.Get(), std::logic_error);
}

TEST_F(AdaptersModel, AdaptersThatAreNotWhole) {
    NIC_LocalPniAdapter adapter(Device({facts}), &host, 0);
    EXPECT_THROW((void)adapter.ToPniFruDataStreamModule(), std::logic_error);
    adapter.Collect();
    adapter.GetLocalPniPortAreaList()[0]->CleanupAll();
    EXPECT_THROW((void)adapter.GetLocalPniPortAreaList(), std::logic_error);
    // Collect replaces all areas.
    adapter.Collect();
    EXPECT_EQ(adapter.GetLocalPniPortAreaList().size(), 1U);
    host.answers[{0x1700, 0, 0}] = "";
    EXPECT_THROW(adapter.Collect(), std::runtime_error);
    EXPECT_TRUE(adapter.IsValid());
    EXPECT_THROW((void)LocalPniAdapter::ToPniFruDataPortFnCommon(Function(facts), 97),
                 std::runtime_error);
}

TEST_F(AdaptersModel, EthernetModule) {
    host.Ip(1, 0, 0, {10, 9, 9, 9});
    host.Ip(1, 0, 1, ipv6);
    host.Ip(2, 0, 1, {10, 0, 0, 1});
    AdapterFacts full = nicFacts({1, 3, 0, 0}, 5);
    full.optionRom = "5." + std::string(40, 'r');
    AdapterFacts bare = nicFacts({1, 3, 0, 1}, 5);
    bare.activeMac = {};
    bare.permanentMac = {};
    const Bytes stream = StreamOf({full, bare});
    const Bytes module =
        joined({{0x45, 56, 2}, textBytes("LAN PCI Card", 19), {3, 2}, textBytes("N/A", 32)});
    const Bytes label = textBytes("Unknown", 10);
    Bytes ids = {0x21, 0x15, 0x86, 0x80, 0, 3, 1, 0, 1, 0, 0xD9, 0x15};
    const Bytes first =
        joined({{0x40, 4, 1, 0, 0xC0, 25, 34, 0}, label, {0, 2, 0x80, 0, 0, 0, 0, 0}, ids});
    const Bytes macs = {2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 2, 0};
    const Bytes addresses = joined({{0x11, 10, 0, 0, 1}, ipv6, {0}});
    ids[4] = 1;
    // The second function has no address and must not get another one's.
    const Bytes second = joined({{0xC1, 4, 1, 0, 0xC0, 20, 34, 0}, label, Bytes(8), ids});
    EXPECT_EQ(stream, joined({module, first, macs, textBytes("5." + std::string(29, 'r'), 32),
                              addresses, second, Bytes(12), textBytes("N/A", 34)}));
}

TEST_F(AdaptersModel, FibreChannelModule) {
    AdapterFacts fibre;
    fibre.address = {0, 4, 2, 1};
    fibre.ids = {0x10DF, 0xF100, 0x10DF, 0xF101};
    fibre.classCode = 0x0C04;
    fibre.nodeName = 0x20000090FA942779;
    fibre.portName = 0x10000090FA942779;
    const Bytes stream = StreamOf({fibre});
    const Bytes names = textBytes("20000090FA94277910000090FA942779");
    const Bytes module =
        joined({{0x40, 56, 1}, textBytes("LAN", 19), {1, 255}, textBytes("N/A", 32)});
    const Bytes common =
        joined({{0xC0, 33, 34, 0}, textBytes("Unknown", 10), {1, 0, 0, 0, 0, 0, 0, 0}});
    const Bytes ids = {0, 0xF1, 0xDF, 0x10, 0x11, 4, 0, 0, 1, 0xF1, 0xDF, 0x10};
    EXPECT_EQ(stream,
              joined({module, {0xC0, 4, 1, 0}, common, ids, names, names, textBytes("N/A", 34)}));
}

TEST_F(AdaptersModel, SizesOfTheEthernetArea) {
    const struct {
        std::size_t ipv4, ipv6, size;
        unsigned counters;
    } cases[] = {
        {0, 0, 46, 0},      {1, 0, 50, 0x01},    {0, 1, 62, 0x10}, {15, 0, 106, 0x0F},
        {0, 15, 286, 0xF0}, {14, 15, 342, 0xFE}, {0, 19, 46, 0},   {16, 0, 46, 0},
        {0, 16, 46, 0},     {15, 15, 0, 0},
    };
    for (const auto& one : cases) {
        std::vector<IpAddress> addresses(one.ipv6, ipv6);
        addresses.insert(addresses.end(), one.ipv4, {10, 0, 0, 1});
        addresses.push_back({1, 2, 3});
        const Bytes area = nicSpecificArea(nicFacts({0, 3, 0, 0}), addresses);
        ASSERT_EQ(area.size(), one.size) << one.ipv4 << " " << one.ipv6;
        EXPECT_EQ(area.empty() ? 0 : area[44], one.counters);
    }
}

}  // namespace
}  // namespace em_pni
