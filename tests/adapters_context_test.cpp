#include <gtest/gtest.h>
#include <map>

#include "adapters/link_speed.h"
#include "adapters/net_interface_connection_context.h"
#include "tests/adapters_fake_cards.h"
#include "tests/adapters_scripted_connection.h"
#include "tests/trace_capture.h"

namespace em_pni {
namespace {

using Mac = std::vector<std::uint8_t>;
const Mac first{2, 0, 0, 0, 0, 1};
const Mac longOne{2, 0, 0, 0, 0, 1, 0, 0};
const Mac unknown{2, 0, 0, 0, 0, 9};
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
    EXPECT_EQ(context.GetNetInterfaceSpeed(unknown), 1000000U);
    EXPECT_EQ(host.cabinet, -2);
    EXPECT_EQ(host.timeout, 5000U);
    host.Ethernet(2, {first.begin(), first.end()});
    EXPECT_TRUE(context.Refresh());
    EXPECT_EQ(context.GetNetInterfaceSpeed(first), 8589934592U);
    for (const char* const bad : {"\"1\"", "-1", "1.5", ""}) {
        host.On(0x170C, 0, 2, bad);
        EXPECT_EQ(context.GetNetInterfaceSpeed(first), 0U) << bad;
    }
    host.On(0x170C, 0, 2, "10", 19);
    EXPECT_EQ(context.GetNetInterfaceSpeed(first), 0U);
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
    host.Count(2);
    EXPECT_TRUE(context.Check());
    EXPECT_EQ(host.Asked(0x1707), 3);

    NetInterfaceConnectionContext alone(nullptr, 0);
    EXPECT_THROW(alone.Check(), std::logic_error);
    EXPECT_EQ(textOfException([&] { alone.Check(); }),
              "NetInterfaceConnectionContext::Check() : Invalid connection module!");
    EXPECT_THROW(alone.Refresh(), std::runtime_error);
}

TEST_F(AdaptersContext, WhatIsNoEthernetInterface) {
    EXPECT_TRUE(context.IsEthernetInterface(0));
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
    const std::string prefix = "NetInterfaceConnectionContext::";
    const std::string noCount = prefix + "FetchInterfaceCount() : No reply data from SIP!";
    const std::string noType = prefix + "IsEthernetInterface() : No reply data from SIP!";
    const std::string noMac = prefix + "Refresh() : No reply data from SIP!";
    const std::string badMac = prefix + "Refresh() : Invalid MAC received!";
    const std::map<unsigned, std::string> right = {
        {0x1700, "3"}, {0x1701, "6"}, {0x1707, rawJson({2, 0, 0, 0, 0, 1, 0, 0})}};
    const auto refuses = [&](unsigned opcode, const std::string& reply, const std::string& text) {
        const unsigned object = opcode == 0x1700 ? 0 : 2;
        host.OnDocument(opcode, 0, object, reply);
        EXPECT_EQ(textOfException([&] { context.Refresh(); }), text) << reply;
        host.On(opcode, 0, object, right.at(opcode));
        // Nothing half-read is taken for the whole map.
        EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 8589934592U) << reply;
    };
    const auto command = [](const std::string& members) {
        return "{\"SIP\":{\"CMD\":[" + members + "]}}";
    };
    const auto good = [&](const std::string& data) {
        return command("{\"ST\":0,\"DA\":" + data + "}");
    };
    for (const std::string document : {"unanswered", "", "[]", "{\"SIP\":3}"}) {
        refuses(0x1700, document, noCount);
    }
    for (const char* const members : {"", "7", "{\"ST\":0}", "{\"DA\":3}", "{\"ST\":3,\"DA\":3}"}) {
        refuses(0x1700, command(members), noCount);
    }
    for (const char* const data : {"\"3\"", "-1", "65537", "4294967296"}) {
        refuses(0x1700, good(data), noCount);
    }
    refuses(0x1701, "unanswered", noType);
    refuses(0x1701, command(""), noType);
    refuses(0x1707, "unanswered", noMac);
    refuses(0x1707, command("{\"ST\":19}"), noMac);
    for (const std::string& data :
         {rawJson({1, 2, 3, 4, 5, 6, 7}), rawJson({0, 0, 0, 0, 0, 0}),
          rawJson({1, 2, 3, 4, 5, 256}), std::string("\"02:00:00:00:00:01\""),
          std::string("{\"RAW\":{}}")}) {
        refuses(0x1707, good(data), badMac);
    }
}

TEST_F(AdaptersContext, AsksFurtherUntilBothFamiliesAreKnown) {
    host.Ip(1, 0, 0, ipv4);
    host.Ip(1, 2, 0, {10, 0, 0, 2});
    host.Ip(2, 0, 0, {10, 0, 0, 3});
    host.Ip(0, 0, 0, {10, 0, 0, 4});
    host.Ip(0, 1, 0, ipv6);
    EXPECT_EQ(
        context.GetIpAddresses(first),
        (std::vector<IpAddressBytes>{{10, 0, 0, 1}, {10, 0, 0, 2}, {ipv6.begin(), ipv6.end()}}));
    EXPECT_EQ(host.Asked(0x1703, 2), 2);
    EXPECT_EQ(host.Asked(0x1703, 0), 2);
    host.Ip(1, 3, 0, ipv6);
    EXPECT_EQ(context.GetIpAddresses(first).size(), 3U);
    EXPECT_EQ(host.Asked(0x1703, 1), 8);
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
    // The interface of the address, in the low half of the object.
    host.Ip(1, 0, 2, ipv4);
    EXPECT_EQ(context.GetIpAddresses(longOne).size(), 1U);
}

TEST_F(AdaptersContext, SaysWhenTheHostCannotBeAsked) {
    test::CTraceCapture trace(5);
    host.Ip(1, 0, 0, ipv4);
    EXPECT_EQ(context.GetIpAddresses(first).size(), 1U);
    host.OnDocument(0x1700, 0, 0, "{}");
    EXPECT_TRUE(context.GetIpAddresses(first).empty());
    EXPECT_EQ(context.GetNetInterfaceSpeed(first), 0U);
    for (const char* const text :
         {"GetIpAddresses() : NIC[0]: Request primary IP address 0 - KRCP status 0x0",
          "GetIpAddresses() :   IF_00 failed, STATUS 02",
          "GetIpAddresses() : Done. Found 1 ipV4 and 0 ipV6", "GetIpAddresses() : Check failed!",
          "GetNetInterfaceSpeed() : Check failed!"}) {
        EXPECT_TRUE(trace.Has(std::string("EM_PNI NetInterfaceConnectionContext::") + text))
            << text;
    }
}

TEST(AdaptersSpeed, Encoding) {
    const std::map<std::uint64_t, unsigned> speeds = {{0, 0},
                                                      {999, 0},
                                                      {100'000, 100},
                                                      {999'999, 999},
                                                      {1'000'000, 0x4001},
                                                      {9'999'999, 0x4009},
                                                      {10'000'000, 0x8001},
                                                      {25'000'000, 0x8002},
                                                      {163'830'000'000, 0xBFFF},
                                                      {163'840'000'000, 0x8000}};
    for (const auto& [speed, code] : speeds) {
        EXPECT_EQ(encodeLinkSpeed(speed), code) << speed;
    }
}

}  // namespace
}  // namespace em_pni
