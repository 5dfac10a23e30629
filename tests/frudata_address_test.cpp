#include <gtest/gtest.h>

#include "frudata/pni_fru_data.h"
#include "tests/record_builder.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

const Bytes ipv4 = {192, 0, 2, 77};
const Bytes otherIpv4 = {192, 0, 2, 78};
const Bytes ipv6 = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
const Bytes otherIpv6 = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8};

// As nicAddresses makes them.
Bytes manufactureMac(std::uint8_t last) {
    return {0x02, 0, 0, 0, 0x01, last};
}
Bytes activeMac(std::uint8_t last) {
    return {0x02, 0, 0, 0, 0x02, last};
}

// Onboard module with one function, then a card with two ports.
Bytes twoModules() {
    return recordImage(12, {nicModule(0, false),
                            module(3, true, 3,
                                   {port(0, false, {function(0, true, 0, nicAddresses(0x31))}),
                                    port(1, true, {function(0, true, 0, nicAddresses(0x32))})})});
}

TEST(Addresses, ClearingAndAssigningTheSameGivesTheSameBytes) {
    const Bytes original = recordImage(
        12, {nicModule(0, false),
             module(3, true, 3,
                    {port(0, false,
                          {function(0, true, 0,
                                    nicAddresses(0x31, joined({ipv4, ipv6, otherIpv6}), 0x21))}),
                     port(1, true, {function(0, true, 0, nicAddresses(0x32, ipv6, 0x10))})})});
    CPniFruData record(original);
    ASSERT_TRUE(record.ClearIpAddresses());
    EXPECT_EQ(record.GetImage(), twoModules());
    ASSERT_TRUE(record.ClearIpAddresses());
    EXPECT_EQ(record.GetImage(), twoModules());
    EXPECT_TRUE(record.AssignIpv4Address(activeMac(0x31), ipv4));
    EXPECT_TRUE(record.AssignIpv6Address(manufactureMac(0x31), ipv6, 0));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x31), otherIpv6, 1));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x32), ipv6, 0));
    EXPECT_EQ(record.GetImage(), original);
}

TEST(Addresses, AnIpv4AddressGoesInFrontAndIsReplaced) {
    CPniFruData record(twoModules());
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x31), ipv6, 0));
    EXPECT_TRUE(record.AssignIpv4Address(activeMac(0x31), otherIpv4));
    EXPECT_TRUE(record.AssignIpv4Address(activeMac(0x31), ipv4));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x31), otherIpv6, 0));
    EXPECT_EQ(
        record.GetImage(),
        recordImage(
            12,
            {nicModule(0, false),
             module(
                 3, true, 3,
                 {port(0, false,
                       {function(0, true, 0, nicAddresses(0x31, joined({ipv4, otherIpv6}), 0x11))}),
                  port(1, true, {function(0, true, 0, nicAddresses(0x32))})})}));
    // An 8-byte MAC is compared by its first six.
    EXPECT_TRUE(record.AssignIpv4Address(joined({activeMac(0), {1, 2}}), ipv4));
}

TEST(Addresses, WhatDoesNotFitIsRefusedAndChangesNothing) {
    const CTraceCapture trace(2);
    const auto refuses = [](const Bytes& image, auto change) {
        CPniFruData record(image);
        return !change(record) && record.GetImage() == image;
    };
    const Bytes image = twoModules();
    const auto assignIpv4 = [](const Bytes& mac, const Bytes& address) {
        return [=](CPniFruData& record) { return record.AssignIpv4Address(mac, address); };
    };
    EXPECT_TRUE(refuses(image, assignIpv4(activeMac(0x99), ipv4))) << "no such MAC";
    EXPECT_FALSE(trace.Has("SetIPAddress() : PARAMETER_ERR"));
    EXPECT_TRUE(refuses(image, assignIpv4(activeMac(0x31), Bytes(5, 1))));
    EXPECT_TRUE(refuses(image, assignIpv4(Bytes(6, 0), ipv4)));
    EXPECT_EQ(trace.Count("SetIPAddress() : PARAMETER_ERR"), 2);
    EXPECT_TRUE(refuses({}, assignIpv4(activeMac(0x31), ipv4)));
    EXPECT_TRUE(refuses(sample("cut-short.fru"), assignIpv4(activeMac(0x31), ipv4)));
    EXPECT_TRUE(trace.Has("SetIPAddress() : INSUFFICENT_DATA_ERR"));
    EXPECT_TRUE(refuses(sample("end-of-list-on-first.fru"), assignIpv4(activeMac(1), ipv4)));
    EXPECT_TRUE(trace.Has("SetIPAddress() : FORMAT_ERR"));

    const auto single = [](const Bytes& functionBytes) {
        return recordImage(12, {module(0, true, 3, {port(0, true, {functionBytes})})});
    };
    const auto assignIpv6 = [](std::size_t slot) {
        return [=](CPniFruData& record) {
            return record.AssignIpv6Address(activeMac(1), otherIpv6, slot);
        };
    };
    EXPECT_TRUE(refuses(single(function(0, true, 0, nicAddresses(1))), assignIpv6(1)))
        << "a slot behind the end of the list";
    Bytes fifteen;
    for (int i = 0; i < 15; ++i) {
        fifteen.insert(fifteen.end(), ipv6.begin(), ipv6.end());
    }
    EXPECT_TRUE(
        refuses(single(function(0, true, 0, nicAddresses(1, fifteen, 0xF0))), assignIpv6(15)))
        << "a sixteenth could not be counted";
    Bytes longest = nicAddresses(1);
    longest.resize(254 * 4 - 34);
    EXPECT_TRUE(refuses(single(function(0, true, 0, longest)), assignIpv6(0)))
        << "the length of the function would overflow";
    Bytes lying = function(0, true, 0, nicAddresses(1, ipv4, 0x3F));
    EXPECT_TRUE(refuses(single(lying), assignIpv6(0))) << "more is counted than is there";
    EXPECT_TRUE(refuses(single(lying), [](CPniFruData& record) {
        record.ClearIpAddresses();
        return false;
    }));
    // Too short to hold addresses, though its MACs are there: never matched.
    Bytes shortBlock = nicAddresses(1);
    shortBlock.resize(12);
    Bytes shortFunction = function(0, true, 0, {});
    shortFunction.resize(44);
    shortFunction[1] = 11;
    shortFunction[2] = 32;
    put(shortFunction, 32, shortBlock);
    EXPECT_TRUE(refuses(single(shortFunction), assignIpv4(activeMac(1), ipv4)));

    std::vector<Bytes> modules;
    for (unsigned i = 0; i < 255; ++i) {
        Bytes big = nicAddresses(static_cast<std::uint8_t>(i));
        big.resize(i < 62 ? 166 : 162);
        modules.push_back(
            module(i % 64, i == 254, 3, {port(0, true, {function(0, true, 0, big)})}));
    }
    const Bytes full = recordImage(12, modules);
    ASSERT_GT(full.size(), 22U + 0xFFFFU - 16U);
    ASSERT_LE(full.size(), 22U + 0xFFFFU);
    EXPECT_TRUE(refuses(full, assignIpv6(0))) << "the length of the record would overflow";
}

TEST(Addresses, MacsGoToTheirPortsInBothCopies) {
    CPniFruData record(twoModules());
    const std::vector<Bytes> macs = {{0x0A, 1, 1, 1, 1, 1}, {0x0A, 2, 2, 2, 2, 2}};
    ASSERT_TRUE(record.AssignMacAddresses(macs, 1));
    EXPECT_TRUE(record.IsValid());
    EXPECT_EQ(record.GetModuleMacAddresses(1), macs);
    EXPECT_EQ(record.GetActiveMacAddresses(), (std::vector<Bytes>{activeMac(0), macs[0], macs[1]}));
    EXPECT_EQ(record.GetModuleMacAddresses(0), (std::vector<Bytes>{manufactureMac(0)}));
    EXPECT_EQ(record.FindModuleByMacAddress(macs[1]), FoundModule(true, 1));
    EXPECT_FALSE(record.FindModuleByMacAddress(activeMac(0)).first);
    EXPECT_FALSE(record.FindModuleByMacAddress(joined({macs[1], {0, 0}})).first);
    EXPECT_FALSE(record.FindModuleByMacAddress({}).first);

    const Bytes before = record.GetImage();
    EXPECT_FALSE(record.AssignMacAddresses(std::vector<Bytes>{macs[0], Bytes(6, 0)}, 1));
    EXPECT_FALSE(record.AssignMacAddresses(std::vector<Bytes>{macs[0], Bytes(5, 1)}, 1));
    EXPECT_FALSE(record.AssignMacAddresses(macs, 2));
    EXPECT_EQ(record.GetImage(), before);

    // The second function has no room for its addresses: the first is not touched either.
    Bytes cramped = function(0, true, 0, {});
    cramped[2] = 30;
    const Bytes image =
        recordImage(12, {module(3, true, 3,
                                {port(0, false, {function(0, true, 0, nicAddresses(1))}),
                                 port(1, true, {cramped})})});
    CPniFruData other(image);
    EXPECT_FALSE(other.AssignMacAddresses(macs, 0));
    EXPECT_EQ(other.GetImage(), image);
}

TEST(Addresses, WorldwideNamesAreWrittenAndFound) {
    CPniFruData record(sample("three-modules.fru"));
    const Bytes original = record.GetImage();
    const auto names = record.GetModulePhysicalAddresses(2);
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[1].kind, PhysicalAddress::Kind::wwn);
    EXPECT_EQ(names[1].wwpn, 0x100000109B000002U);
    EXPECT_EQ(names[1].wwnn, 0x200000109B000002U);
    EXPECT_EQ(record.FindModuleByAddress(names[1]), FoundModule(true, 2));

    auto changed = names;
    changed[1].wwpn = 0x10000000C9ABCDEFU;
    ASSERT_TRUE(record.AssignWwnAddresses(changed, 2));
    EXPECT_TRUE(record.IsValid());
    EXPECT_EQ(record.GetModulePhysicalAddresses(2)[1].wwpn, changed[1].wwpn);
    EXPECT_FALSE(record.FindModuleByAddress(names[1]).first);
    EXPECT_FALSE(record.FindModuleByWWPNAddress(0).first);
    ASSERT_TRUE(record.AssignWwnAddresses(names, 2));
    EXPECT_EQ(record.GetImage(), original);
    EXPECT_FALSE(record.AssignWwnAddresses(names, 0)) << "no Fibre Channel module";
}

TEST(Addresses, ModulesTellTheirSlotAndPciLocation) {
    const CPniFruData record(sample("three-modules.fru"));
    EXPECT_EQ(record.GetModuleIds(), (Bytes{0, 3, 4}));
    EXPECT_EQ(record.GetPciLocation(1, 1, 0), 0x0301);
    EXPECT_EQ(record.GetPciLocation(1, 2, 0), std::nullopt);
    EXPECT_EQ(record.GetPciLocation(3, 0, 0), std::nullopt);
}

TEST(Addresses, NoChangeReachesOutsideADamagedImage) {
    const Bytes good = sample("three-modules.fru");
    const std::vector<PhysicalAddress> names(
        2, {.kind = PhysicalAddress::Kind::wwn, .mac = {}, .wwpn = 1, .wwnn = 2});
    for (std::size_t byte = 16; byte < good.size(); ++byte) {
        for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0xFF}) {
            Bytes image = good;
            image[byte] = value;
            fixChecksums(image);
            CPniFruData record(image);
            const bool wasValid = record.IsValid();
            record.ClearIpAddresses();
            record.AssignIpv4Address({{2, 0, 0, 0, 3, 1}}, ipv4);
            record.AssignIpv6Address({{2, 0, 0, 0, 1, 1}}, ipv6, 0);
            record.AssignMacAddresses(std::vector<Bytes>(2, Bytes(8, 7)), 1);
            record.AssignWwnAddresses(names, 2);
            ASSERT_EQ(record.IsValid(), wasValid) << byte << " = " << int{value};
        }
    }
}

}  // namespace
}  // namespace em_pni::test
