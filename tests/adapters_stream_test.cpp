#include <gtest/gtest.h>

#include "adapters/function_specific_area.h"
#include "frudata/pni_fru.h"
#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"
#include "tests/record_builder.h"

namespace em_pni {
namespace {

using test::Bytes;
using test::joined;

// A text and zeros up to `size`.
Bytes text(const std::string& content, std::size_t size) {
    Bytes bytes = test::textBytes(content);
    bytes.resize(size);
    return bytes;
}

std::uint32_t validated(Bytes module) {
    module[0] |= 0x80U;
    const Bytes image = test::recordImage(12, {module});
    return pniValidateFru(image.data(), image.size());
}

const Bytes ipv6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0xFF, 0xFE, 0, 2, 0};

struct AdaptersStream : testing::Test {
    AdaptersStream() {
        host.Count(2);
        host.Ethernet(0, {2, 0, 0, 0, 9, 9});
        host.Ip(1, 0, 0, {10, 9, 9, 9});
        host.Ethernet(1, {2, 0, 0, 0, 2, 0});
        host.Ip(1, 0, 1, {ipv6.begin(), ipv6.end()});
        host.Ip(2, 0, 1, {10, 0, 0, 1});
        host.On(0x170C, 0, 1, "10000000");
    }
    CFakeMachine machine;
    CScriptedConnection host;
};

TEST_F(AdaptersStream, EthernetModule) {
    AdapterFacts full = nicFacts({1, 3, 0, 0}, 5);
    full.optionRom = std::string(40, 'r');
    AdapterFacts bare = nicFacts({1, 3, 0, 1}, 5);
    bare.activeMac.reset();
    bare.permanentMac.reset();
    const LocalPniAdapterHandle handle(deviceOf(machine, {full, bare}), &host, 0);
    const Bytes stream = handle.Get().ToPniFruDataStreamModule();
    const Bytes module = joined({{0x45, 56, 2}, text("LAN PCI Card", 19), {3, 2}, text("N/A", 32)});
    const Bytes label = text("Unknown", 10);
    Bytes ids = {0x21, 0x15, 0x86, 0x80, 0, 3, 1, 0, 1, 0, 0xD9, 0x15};
    const Bytes first =
        joined({{0x40, 4, 1, 0, 0xC0, 25, 34, 0}, label, {0, 1, 0x80, 0, 0, 0, 0, 0}, ids});
    const Bytes macs = {2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 2, 0};
    const Bytes addresses = joined({{0x11, 10, 0, 0, 1}, ipv6, {0}});
    ids[4] = 1;
    // Without an address, and without anybody else's.
    const Bytes second = joined({{0xC1, 4, 1, 0, 0xC0, 20, 34, 0}, label, Bytes(8), ids});
    EXPECT_EQ(stream, joined({module, first, macs, text(std::string(31, 'r'), 32), addresses,
                              second, Bytes(12), text("N/A", 34)}));
    EXPECT_EQ(validated(stream), PNI_SUCCESS);
}

TEST_F(AdaptersStream, FibreChannelModule) {
    AdapterFacts facts = fcFacts({0, 4, 2, 1});
    facts.slot = unknownSlot;
    const LocalPniAdapterHandle handle(deviceOf(machine, {facts}), nullptr, 0);
    const Bytes stream = handle.Get().ToPniFruDataStreamModule();
    const Bytes names = test::textBytes("20000090FA94277910000090FA942779");
    const Bytes module = joined({{0x40, 56, 1}, text("LAN", 19), {1, 255}, text("N/A", 32)});
    const Bytes common = joined({{0xC0, 33, 34, 0}, text("Unknown", 10), {1, 0, 0, 0, 0, 0, 0, 0}});
    const Bytes ids = {0, 0xF1, 0xDF, 0x10, 0x11, 4, 0, 0, 1, 0xF1, 0xDF, 0x10};
    EXPECT_EQ(stream,
              joined({module, {0xC0, 4, 1, 0}, common, ids, names, names, text("N/A", 34)}));
    EXPECT_EQ(validated(stream), PNI_SUCCESS);
}

TEST_F(AdaptersStream, SizesOfTheEthernetArea) {
    const AdapterFacts facts = nicFacts({0, 3, 0, 0});
    const auto area = [&](std::size_t ipv4Count, std::size_t ipv6Count) {
        std::vector<IpAddressBytes> addresses(ipv6Count, ipv6);
        addresses.insert(addresses.end(), ipv4Count, {10, 0, 0, 1});
        addresses.push_back({1, 2, 3});
        return nicSpecificArea(facts, addresses);
    };
    const struct {
        std::size_t ipv4, ipv6, size;
        unsigned counters;
    } cases[] = {
        {0, 0, 46, 0},      {1, 0, 50, 0x01},   {0, 1, 62, 0x10},
        {15, 0, 106, 0x0F}, {0, 15, 286, 0xF0}, {14, 15, 342, 0xFE},
        {0, 19, 46, 0},     {16, 0, 46, 0},     {0, 16, 46, 0},
    };
    for (const auto& one : cases) {
        const Bytes bytes = area(one.ipv4, one.ipv6);
        ASSERT_EQ(bytes.size(), one.size) << one.ipv4 << " " << one.ipv6;
        EXPECT_EQ(bytes[44], one.counters);
    }
    EXPECT_TRUE(area(15, 15).empty());
}

TEST_F(AdaptersStream, FunctionsThatDoNotFit) {
    const CSystemAdapter adapter(fcFacts({0, 4, 0, 0}), machine.Machine());
    const auto device = deviceOf(machine, {adapter.Facts()});
    int clones = 100;
    FC_LocalPniAdapter empty(device, nullptr, 0);
    const FC_LocalPniModuleArea module(1, device.Functions(), {});
    empty.SetLocalPniModuleArea(&module);
    FC_LocalPniPortArea port(0, adapter, true, {});
    const COddFunction nothing(adapter, 0, "", &clones);
    port.AddLocalPniPortFunctionArea(&nothing);
    empty.AddLocalPniPortArea(&port);
    EXPECT_THROW((void)empty.ToPniFruDataStreamModule(), std::runtime_error);
    EXPECT_THROW((void)LocalPniAdapter::ToPniFruDataPortFnCommon(nothing, 97), std::runtime_error);
    const auto label = [&](const std::string& full) {
        const COddFunction function(adapter, 2, full, &clones);
        const Bytes common = LocalPniAdapter::ToPniFruDataPortFnCommon(function, 2);
        return Bytes(common.begin() + 4, common.begin() + 14);
    };
    EXPECT_EQ(label("ABCDEFGHIJKL"), text("ABCDEFGHI", 10));
}

}  // namespace
}  // namespace em_pni
