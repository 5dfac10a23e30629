// The host's answers about the network of the machine, and its reports of changes.
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>

#include "frudata/address_text.h"
#include "host/events/network_watch.h"
#include "host/machine/kernel_network.h"
#include "host/machine/link_facts.h"
#include "host/machine/network_answers.h"
#include "host/output/host_error.h"
#include "tests/network_namespace.h"

namespace em_pni::host_test {
namespace {

using test::CNetworkNamespace;
using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

struct CScriptedView final : CINetworkView {
    NetworkSnapshot Take() override {
        return snapshot.empty() ? throw CHostError("no netlink here") : snapshot;
    }
    NetworkSnapshot snapshot = NetworkSnapshot(1);
};

class CAsker {
  public:
    explicit CAsker(CINetworkView& view) : answers_(view, console_) {}

    CKrcpMessage Ask(std::uint16_t opcode, std::uint16_t extension, std::uint32_t object) {
        CKrcpMessage message = krcp::makeRequest(opcode, extension, object, 0);
        Ask(message);
        return message;
    }
    void Ask(CKrcpMessage& message) {
        krcp::setStatus(message, answers_.Answer(message).value_or(krcp::INVALID_CMD));
    }
    // -1 when the answer has no data.
    std::int64_t Number(std::uint16_t opcode, std::uint32_t object) {
        const CKrcpMessage message = Ask(opcode, 0, object);
        return krcp::hasData(message) ? krcp::GetValue(message, 0, "DA", -2) : -1;
    }
    std::string Mac(std::uint32_t number) {
        std::vector<std::uint8_t> bytes;
        krcp::copyRawBytes(Ask(krcp::macAddress, 0, number), bytes);
        return macText(bytes, ":");
    }
    // The number of the interface with this MAC.
    std::uint32_t NumberOf(const std::string& mac) {
        std::uint32_t number = 0;
        while (number < Number(krcp::interfaceCount, 0) && Mac(number) != mac) {
            ++number;
        }
        return number;
    }
    Texts Addresses(krcp::IpAddressKind kind, std::uint32_t number) {
        Texts texts;
        for (std::uint32_t index = 0;; ++index) {
            const CKrcpMessage message = Ask(krcp::ipAddress, kind, index << 16U | number);
            std::vector<std::uint8_t> bytes;
            if (krcp::copyRawBytes(message, bytes) == 0) {
                EXPECT_EQ(krcp::status(message), krcp::NO_DATA);
                return texts;
            }
            texts.push_back(bytes.size() == 4 ? ipv4Text(bytes) : ipv6Text(bytes));
        }
    }
    void Clear() { EXPECT_TRUE(krcp::hasData(Ask(krcp::clearNetworkSnapshot, 0, 0))); }

  private:
    std::ostringstream output_;
    CConsole console_{output_, output_};
    CNetworkAnswers answers_;
};

TEST(HostNetwork, BadRequestsFail) {
    CScriptedView view;
    view.snapshot[0].addresses = listAddresses({{.ip = {192, 0, 2, 7}}});
    CAsker asker(view);
    for (const std::string members :
         {R"("OC":5889,"OI":1)", R"("OC":5889,"OI":-1)", R"("OC":5889,"OI":4294967296)",
          R"("OC":5895)", R"("OC":5900)", R"("OC":5889,"OE":1)", R"("OC":5891,"OE":3)",
          R"("OC":5891,"OE":-1)", R"("OC":5891,"OE":2)", R"("OC":5891,"OI":65536)",
          R"("OC":5891,"OI":1)", R"("OC":5888,"OE":7)", R"("OC":5890)", R"("OC":"5888")",
          R"("OC":5888.0)", R"("OC":[5888])"}) {
        CKrcpMessage message;
        message.document.Parse((R"({"SIP":{"CMD":[{)" + members + "}]}}").c_str());
        asker.Ask(message);
        EXPECT_FALSE(krcp::isSuccess(krcp::status(message))) << members;
        EXPECT_EQ(krcp::findData(message), nullptr) << members;
    }
    view.snapshot.clear();
    asker.Clear();
    EXPECT_EQ(krcp::status(asker.Ask(krcp::interfaceCount, 0, 0)), krcp::EXEC_FAILED);
}

// The last byte of the one IPv4 and the two IPv6 addresses that a module keeps, 0 = none.
Bytes keptBy(const AddressLists& lists) {
    Bytes ipv4;
    Bytes ipv6;
    for (std::size_t index = 0; index < 4; ++index) {
        for (const auto* const list : {&lists.primary, &lists.transient, &lists.any}) {
            const IpAddress ip = index < list->size() ? (*list)[index] : IpAddress();
            Bytes& family = ip.size() == IpAddress::shortSize ? ipv4 : ipv6;
            if (!ip.IsEmpty() &&
                std::find(family.begin(), family.end(), ip.end()[-1]) == family.end()) {
                family.push_back(ip.end()[-1]);
            }
        }
    }
    ipv4.resize(1);
    ipv6.resize(2);
    return {ipv4[0], ipv6[0], ipv6[1]};
}

InterfaceAddress v4(std::uint8_t last, Lifetime lifetime = Lifetime::permanent) {
    return {.ip = {192, 0, 2, last}, .lifetime = lifetime};
}

InterfaceAddress v6(std::uint8_t last, Lifetime lifetime = Lifetime::permanent) {
    return {.ip = {0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last},
            .lifetime = lifetime};
}

TEST(HostNetwork, AModuleHearsTheBestAddressesOfBothFamilies) {
    constexpr auto dynamic = Lifetime::dynamic;
    constexpr auto temporary = Lifetime::temporary;
    InterfaceAddress onLink = v6(1);
    onLink.linkLocal = true;
    InterfaceAddress old = v6(2);
    old.deprecated = true;
    InterfaceAddress leased = old;
    leased.lifetime = dynamic;
    InterfaceAddress unconfigured = v4(3);
    unconfigured.ip = {169, 254, 0, 1};
    using Addresses = std::vector<InterfaceAddress>;
    const std::vector<std::pair<Addresses, Bytes>> cases{
        {{v4(9), v4(8), v4(7), v4(6), v4(5), v6(9), v6(8), v6(7)}, {5, 7, 8}},
        {{v6(3, temporary), v6(4, dynamic), v6(6), v6(5)}, {0, 5, 6}},
        {{v6(3, temporary), v6(4, dynamic), v6(6), v4(4, dynamic)}, {4, 6, 4}},
        {{v6(3, temporary), v6(4, dynamic), v4(4, dynamic), v4(5)}, {5, 4, 3}},
        {{onLink, old, v6(9, temporary), unconfigured, v4(9, dynamic)}, {9, 9, 2}},
        {{onLink, leased, unconfigured}, {1, 2, 1}},
        {{onLink}, {0, 1, 0}}};
    for (const auto& [addresses, kept] : cases) {
        Addresses order = addresses;
        for (std::size_t turn = 0; turn < order.size(); ++turn) {
            std::rotate(order.begin(), order.begin() + 1, order.end());
            EXPECT_EQ(keptBy(listAddresses(order)), kept) << &kept - &cases.front().second;
        }
    }
    EXPECT_EQ(listAddresses({onLink}).primary.size(), 1U);
    EXPECT_TRUE(listAddresses({onLink, v6(9, dynamic)}).primary.empty());
}

TEST(HostNetwork, TypeAndStateFollowTheKernel) {
    EXPECT_NE(interfaceTypeOf(ARPHRD_ETHER, std::vector<std::uint8_t>(6)), 6U);
    EXPECT_EQ(linkStateOf(IF_OPER_UNKNOWN, IFF_UP | IFF_LOWER_UP), 1U);
    EXPECT_NE(linkStateOf(IF_OPER_UNKNOWN, IFF_UP), 1U);
}

class HostNetworkNamespace : public testing::Test {
  protected:
    void SetUp() override {
        if (!namespace_.Reason().empty()) {
            GTEST_SKIP() << namespace_.Reason();
        }
        for (const char* const name : {"v0", "v1"}) {
            CNetworkNamespace::Set(name, "accept_dad", 0);
            CNetworkNamespace::Set(name, "addr_gen_mode", 1);  // no link-local addresses
        }
        ASSERT_TRUE(CNetworkNamespace::Ip("link set v1 up\nlink set v0 up"));
        // The kernel reports a new carrier with a delay.
        ASSERT_TRUE(test::isTrueWithin(std::chrono::seconds(20), [this] {
            asker_.Clear();
            return asker_.Number(krcp::linkState, asker_.NumberOf(CNetworkNamespace::Mac(0))) ==
                   krcp::linkIsUp;
        }));
        asker_.Clear();
    }
    CNetworkNamespace namespace_;
    CKernelNetwork kernel_;
    CAsker asker_{kernel_};
};

TEST_F(HostNetworkNamespace, AnswersWithTheAddressesOfAnInterface) {
    ASSERT_TRUE(
        CNetworkNamespace::Ip("addr add fe80::7/64 dev v0\n"
                              "addr add 198.51.100.9/24 dev v0 valid_lft 300 preferred_lft 300\n"
                              "addr add 192.0.2.7/24 dev v0\n"
                              "addr add 192.0.2.8/24 dev v0\n"
                              "addr add 192.0.2.7/25 dev v0\n"
                              "addr add 203.0.113.1 peer 203.0.113.2 dev v0\n"
                              "addr add 2001:db8::7/64 dev v0"));
    const std::uint32_t number = asker_.NumberOf(CNetworkNamespace::Mac(0));
    const Texts primary{"192.0.2.7", "2001:db8::7", "192.0.2.8", "203.0.113.1"};
    test::isTrueWithin(std::chrono::seconds(20), [&] {  // the kernel first checks IPv6 addresses
        asker_.Clear();
        return asker_.Addresses(krcp::primaryAddress, number) == primary;
    });
    EXPECT_EQ(asker_.Addresses(krcp::primaryAddress, number), primary);
    EXPECT_EQ(asker_.Addresses(krcp::transientAddress, number), (Texts{"198.51.100.9"}));
    EXPECT_EQ(
        asker_.Addresses(krcp::anyAddress, number),
        (Texts{"192.0.2.7", "2001:db8::7", "fe80::7", "192.0.2.8", "203.0.113.1", "198.51.100.9"}));
    ASSERT_TRUE(CNetworkNamespace::Ip("addr flush dev v0"));
    EXPECT_EQ(asker_.Addresses(krcp::primaryAddress, number).size(), 4U);  // the old snapshot
    asker_.Clear();
    EXPECT_EQ(asker_.Addresses(krcp::anyAddress, number), Texts());
}

TEST_F(HostNetworkNamespace, AnswersWithTypeSpeedAndStateOfALink) {
    const std::uint32_t number = asker_.NumberOf(CNetworkNamespace::Mac(0));
    EXPECT_EQ(asker_.Number(krcp::interfaceType, number), 6);
    EXPECT_EQ(asker_.Number(krcp::linkState, number), 1);
    EXPECT_EQ(asker_.Number(krcp::linkSpeed, number), 10'000'000);

    // Without a carrier the kernel cannot check the address for duplicates.
    CNetworkNamespace::Set("v0", "accept_dad", 1);
    ASSERT_TRUE(CNetworkNamespace::Ip(
        "link set v1 down\naddr add 2001:db8::7/64 dev v0\n"
        "link set v0 down\nlink set v0 address 02:00:00:00:07:0a\nlink set v0 up"));
    asker_.Clear();
    EXPECT_EQ(asker_.Number(krcp::linkState, number), 7);
    EXPECT_EQ(asker_.Mac(number), "02:00:00:00:07:0A");
    EXPECT_EQ(asker_.Addresses(krcp::anyAddress, number), Texts());
}

TEST_F(HostNetworkNamespace, AnOverrunIsAChangeThatWaitsAfterAWrite) {
    using Clock = CIEventSource::Clock;
    const Clock::time_point now{std::chrono::hours(1)};
    auto lastWrite = Clock::time_point::min();
    CNetworkWatch watch(std::chrono::seconds(5), [&lastWrite] { return lastWrite; });
    std::string lines;
    for (int i = 0; i < 400; ++i) {
        lines += "addr add 10.7." + std::to_string(i / 250) + "." + std::to_string(i % 250) +
                 "/32 dev v0\n";
    }
    ASSERT_TRUE(CNetworkNamespace::Ip(lines));
    watch.Take(now);
    EXPECT_EQ(watch.DueAt(), now + CEventBursts::quietTime);
    lastWrite = now;
    EXPECT_FALSE(watch.NextReport(now + std::chrono::milliseconds(4999)));
    EXPECT_TRUE(watch.NextReport(now + std::chrono::seconds(5)));
    watch.Take(now);
    EXPECT_FALSE(watch.DueAt());
}

}  // namespace
}  // namespace em_pni::host_test
