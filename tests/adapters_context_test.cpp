#include <gtest/gtest.h>

#include "adapters/link_speed.h"
#include "adapters/net_interface_connection_context.h"
#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"

namespace em_pni {
namespace {

using Mac = std::vector<std::uint8_t>;
const Mac first{2, 0, 0, 0, 0, 1};
const Mac longOne{2, 0, 0, 0, 0, 1, 0, 0};
const std::vector<unsigned> ipv4{10, 0, 0, 1};
const std::vector<unsigned> ipv6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

// Interface 0 is Ethernet, 1 is none, 2 is Ethernet with a long address.
struct AdaptersContext : testing::Test {
    AdaptersContext() {
        host.Count(3);
        host.Ethernet(0, {first.begin(), first.end()});
        host.Ethernet(2, {longOne.begin(), longOne.end()});
        host.On(0x1701, 0, 1, "24");
        host.On(0x170C, 0, 0, "1000000");
        host.On(0x170C, 0, 2, "8589934592");
    }
    CScriptedConnection host;
    NetInterfaceConnectionContext context{&host, -2};
};

TEST_F(AdaptersContext, FindsInterfacesByAddress) {
    EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 8589934592U);
    EXPECT_EQ(context.GetNetInterfaceSpeed(Mac{2, 0, 0, 0, 0, 9}), 1000000U);
    EXPECT_EQ(host.cabinet, -2);
    EXPECT_EQ(host.timeout, 5000U);
    host.Ethernet(2, {first.begin(), first.end()});
    EXPECT_TRUE(context.Refresh());
    EXPECT_EQ(context.GetNetInterfaceSpeed(first), 8589934592U);
    for (const char* const bad : {"\"1\"", "-1", "1.5", ""}) {
        host.On(0x170C, 0, 2, bad);
        EXPECT_EQ(context.GetNetInterfaceSpeed(first), 0U) << bad;
    }
    host.OnDocument(0x1700, 0, 0, "{}");
    EXPECT_TRUE(context.GetIpAddresses(first).empty());
    EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 0U);
}

TEST_F(AdaptersContext, ReadsTheMapAgainOnlyWhenItMust) {
    EXPECT_TRUE(context.Check());
    EXPECT_TRUE(context.Check());
    EXPECT_EQ(host.Asked(0x1707), 2);
    host.Count(2);
    EXPECT_TRUE(context.Check());
    EXPECT_EQ(host.Asked(0x1707), 3);
    // A copy goes its own way.
    NetInterfaceConnectionContext copy = context;
    host.Count(0);
    EXPECT_TRUE(copy.Check());
    EXPECT_EQ(copy.GetNetInterfaceSpeed(first), 1000000U);

    NetInterfaceConnectionContext alone(nullptr, 0);
    EXPECT_THROW(alone.Check(), std::logic_error);
}

TEST_F(AdaptersContext, WhatIsNoEthernetInterface) {
    for (const char* const data : {"\"6\"", "6.0", "[6]", "-6", ""}) {
        host.On(0x1701, 0, 0, data);
        EXPECT_FALSE(context.IsEthernetInterface(0)) << data;
    }
    host.On(0x1701, 0, 0, "6", 1);
    EXPECT_FALSE(context.IsEthernetInterface(0));
    host.On(0x1701, 0, 0, "6", 255);
    EXPECT_TRUE(context.IsEthernetInterface(0));
}

TEST_F(AdaptersContext, RefusesRepliesThatCannotBe) {
    const auto command = [](const std::string& members) {
        return "{\"SIP\":{\"CMD\":[" + members + "]}}";
    };
    const auto refuses = [&](unsigned opcode, const std::string& document, const std::string& right,
                             const std::string& text) {
        const unsigned object = opcode == 0x1700 ? 0 : 2;
        host.OnDocument(opcode, 0, object, document);
        EXPECT_EQ(textOfException([&] { context.Refresh(); }),
                  "NetInterfaceConnectionContext::" + text)
            << document;
        host.On(opcode, 0, object, right);
        // Nothing half-read is taken for the whole map.
        EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 8589934592U) << document;
    };
    for (const std::string& document :
         {std::string("unanswered"), std::string("[]"), std::string("{\"SIP\":3}"), command("7"),
          command("{\"ST\":0}"), command("{\"DA\":3}"), command("{\"ST\":3,\"DA\":3}"),
          command("{\"ST\":0,\"DA\":\"3\"}"), command("{\"ST\":0,\"DA\":65537}")}) {
        refuses(0x1700, document, "3", "FetchInterfaceCount() : No reply data from SIP!");
    }
    const std::string mac = rawJson({2, 0, 0, 0, 0, 1, 0, 0});
    refuses(0x1701, command(""), "6", "IsEthernetInterface() : No reply data from SIP!");
    refuses(0x1707, command("{\"ST\":19}"), mac, "Refresh() : No reply data from SIP!");
    for (const std::string& data : {rawJson({1, 2, 3, 4, 5, 6, 7}), rawJson({0, 0, 0, 0, 0, 0}),
                                    rawJson({1, 2, 3, 4, 5, 256}), std::string("{\"RAW\":{}}")}) {
        refuses(0x1707, command("{\"ST\":0,\"DA\":" + data + "}"), mac,
                "Refresh() : Invalid MAC received!");
    }
}

TEST_F(AdaptersContext, AsksFurtherUntilBothFamiliesAreKnown) {
    host.Ip(1, 0, 0, ipv4);
    host.Ip(1, 2, 0, {10, 0, 0, 2});
    host.Ip(2, 0, 0, {10, 0, 0, 3});
    host.Ip(0, 1, 0, ipv6);
    EXPECT_EQ(
        context.GetIpAddresses(first),
        (std::vector<IpAddressBytes>{{10, 0, 0, 1}, {10, 0, 0, 2}, {ipv6.begin(), ipv6.end()}}));
    host.Ip(1, 3, 0, ipv6);
    EXPECT_EQ(context.GetIpAddresses(first).size(), 3U);
    EXPECT_EQ(host.Asked(0x1703, 2), 2);
}

TEST_F(AdaptersContext, TakesNoAddressFromBadReplies) {
    host.On(0x1703, 1, 0, "\"10.0.0.1\"");
    host.On(0x1703, 1, 0x10000, "{\"RAW\":[]}");
    host.On(0x1703, 1, 0x20000, rawJson(ipv4), 6);
    host.OnDocument(0x1703, 1, 0x30000, "unanswered");
    host.Ip(2, 0, 0, {10, 0, 0});
    EXPECT_TRUE(context.GetIpAddresses(first).empty());
    // Only a primary address may have any length; it counts as IPv6.
    host.Ip(1, 0, 0, {1, 2, 3, 4, 5, 6, 7});
    host.Ip(0, 3, 0, ipv4);
    EXPECT_EQ(context.GetIpAddresses(first),
              (std::vector<IpAddressBytes>{{1, 2, 3, 4, 5, 6, 7}, {10, 0, 0, 1}}));
}

TEST(AdaptersSpeed, Encoding) {
    EXPECT_EQ(encodeLinkSpeed(999'999), 999);
    EXPECT_EQ(encodeLinkSpeed(1'000'000), 0x4001);
    EXPECT_EQ(encodeLinkSpeed(9'999'999), 0x4009);
    EXPECT_EQ(encodeLinkSpeed(10'000'000), 0x8001);
    EXPECT_EQ(encodeLinkSpeed(163'840'000'000), 0x8000);
}

}  // namespace
}  // namespace em_pni
