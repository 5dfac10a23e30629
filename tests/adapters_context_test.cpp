#include "adapters/link_speed.h"
#include "adapters/net_interface_connection_context.h"
#include "tests/adapters_fixture.h"

namespace em_pni {
namespace {

const Bytes first{2, 0, 0, 0, 0, 1};
const Bytes longOne{2, 0, 0, 0, 0, 1, 0, 0};
const Bytes ipv4{10, 0, 0, 1};
const Bytes ipv6{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

// Interface 0 is Ethernet, 1 is none, 2 is Ethernet with a long address.
struct AdaptersContext : AdaptersFixture {
    AdaptersContext() { AnswerRightly(); }
    void AnswerRightly() {
        host.answers[{0x1700, 0, 0}] = reply("3");
        host.Ethernet(0, first);
        host.Ethernet(2, longOne);
        host.answers[{0x1701, 0, 1}] = reply("24");
        host.answers[{0x170C, 0, 0}] = reply("1000000");
        host.answers[{0x170C, 0, 2}] = reply("8589934592");
    }
};

TEST_F(AdaptersContext, FindsInterfacesByAddress) {
    EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 8589934592U);
    EXPECT_EQ(context.GetNetInterfaceSpeed({2, 0, 0, 0, 0, 9}), 1000000U);
    EXPECT_EQ(host.cabinet, -2);
    EXPECT_EQ(host.timeout, 5000U);
    host.Ethernet(2, first);
    EXPECT_TRUE(context.Refresh());
    EXPECT_EQ(context.GetNetInterfaceSpeed(first), 8589934592U);
    for (const char* const bad : {"\"1\"", "-1", "1.5", "null"}) {
        host.answers[{0x170C, 0, 2}] = reply(bad);
        EXPECT_EQ(context.GetNetInterfaceSpeed(first), 0U) << bad;
    }
    host.answers[{0x1700, 0, 0}] = "{}";
    EXPECT_TRUE(context.GetIpAddresses(first).empty());
    EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 0U);
}

TEST_F(AdaptersContext, ReadsTheMapAgainOnlyWhenItMust) {
    int& macsRead = host.asked[{0x1707, 0}];
    EXPECT_TRUE(context.Check() && context.Check());
    EXPECT_EQ(macsRead, 2);
    host.answers[{0x1700, 0, 0}] = reply("2");
    EXPECT_TRUE(context.Check());
    EXPECT_EQ(macsRead, 3);
    NetInterfaceConnectionContext alone(nullptr, 0);
    EXPECT_THROW(alone.Check(), std::logic_error);
}

TEST_F(AdaptersContext, WhatIsNoEthernetInterface) {
    for (const std::string command :
         {R"({"ST":0,"DA":"6"})", R"({"ST":0,"DA":6.0})", R"({"ST":0,"DA":[6]})",
          R"({"ST":0,"DA":-6})", R"({"ST":0})", R"({"ST":1,"DA":6})", R"({"ST":255,"DA":6})"}) {
        host.answers[{0x1701, 0, 0}] = documentOf(command);
        EXPECT_EQ(context.IsEthernetInterface(0), command.find("255") != std::string::npos);
    }
}

TEST_F(AdaptersContext, RefusesRepliesThatCannotBe) {
    const auto refuses = [&](unsigned opcode, const std::string& text,
                             const std::vector<std::string>& documents) {
        for (const std::string& document : documents) {
            host.answers[{opcode, 0, opcode == 0x1700 ? 0 : 2}] = document;
            try {
                context.Refresh();
                ADD_FAILURE() << document;
            } catch (const std::runtime_error& error) {
                EXPECT_EQ(error.what(), "NetInterfaceConnectionContext::" + text) << document;
            }
            // Nothing half-read is taken for the whole map.
            AnswerRightly();
            EXPECT_EQ(context.GetNetInterfaceSpeed(longOne), 8589934592U) << document;
        }
    };
    refuses(0x1700, "FetchInterfaceCount() : No reply data from SIP!",
            {"", "[]", R"({"SIP":3})", documentOf("7"), documentOf(R"({"ST":0})"),
             documentOf(R"({"DA":3})"), documentOf(R"({"ST":3,"DA":3})"), reply(R"("3")"),
             reply("65537")});
    refuses(0x1701, "IsEthernetInterface() : No reply data from SIP!", {documentOf("")});
    refuses(0x1707, "Refresh() : No reply data from SIP!", {documentOf(R"({"ST":19})")});
    refuses(0x1707, "Refresh() : Invalid MAC received!",
            {reply(R"({"RAW":[1,2,3,4,5,6,7]})"), reply(R"({"RAW":[0,0,0,0,0,0]})"),
             reply(R"({"RAW":[1,2,3,4,5,256]})"), reply(R"({"RAW":{}})")});
}

TEST_F(AdaptersContext, AsksFurtherUntilBothFamiliesAreKnown) {
    host.Ip(1, 0, 0, ipv4);
    host.Ip(1, 2, 0, {10, 0, 0, 2});
    host.Ip(2, 0, 0, {10, 0, 0, 3});
    host.Ip(0, 1, 0, ipv6);
    EXPECT_EQ(context.GetIpAddresses(first), (std::vector<IpAddress>{ipv4, {10, 0, 0, 2}, ipv6}));
    host.Ip(1, 3, 0, ipv6);
    EXPECT_EQ(context.GetIpAddresses(first).size(), 3U);
    EXPECT_EQ((host.asked[{0x1703, 1}]), 2 * 4);
    EXPECT_EQ((host.asked[{0x1703, 2}]), 2);
}

TEST_F(AdaptersContext, TakesNoAddressFromBadReplies) {
    host.answers[{0x1703, 1, 0}] = reply("\"10.0.0.1\"");
    host.answers[{0x1703, 1, 0x10000}] = reply("{\"RAW\":[]}");
    host.answers[{0x1703, 1, 0x20000}] = documentOf(R"({"ST":6,"DA":)" + rawJson(ipv4) + "}");
    host.answers[{0x1703, 1, 0x30000}] = "";
    host.Ip(2, 0, 0, {10, 0, 0});
    EXPECT_TRUE(context.GetIpAddresses(first).empty());
    // A primary answer of any other length counts as IPv6 and is no address.
    host.Ip(1, 0, 0, {1, 2, 3, 4, 5, 6, 7});
    host.Ip(0, 3, 0, ipv4);
    EXPECT_EQ(context.GetIpAddresses(first), std::vector<IpAddress>{ipv4});
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
