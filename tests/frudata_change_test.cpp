// Changes of a record: addresses assigned and cleared, modules added and removed.
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

#include "frudata/pni_fru_data.h"
#include "tests/record_builder.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

const Bytes ipv4 = {192, 0, 2, 77};
const Bytes otherIpv4 = {192, 0, 2, 78};
const Bytes ipv6 = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
const Bytes otherIpv6 = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8};

// The MACs of nicAddresses.
Bytes manufactureMac(std::uint8_t last) {
    return {0x02, 0, 0, 0, 0x01, last};
}
Bytes activeMac(std::uint8_t last) {
    return {0x02, 0, 0, 0, 0x02, last};
}

// An onboard module, then a card with two ports. Each port has one function with these addresses.
Bytes twoModules(const Bytes& first = nicAddresses(0x31),
                 const Bytes& second = nicAddresses(0x32)) {
    return recordImage(
        12, {nicModule(0, false), module(3, true, 3,
                                         {port(0, false, {function(0, true, 0, first)}),
                                          port(1, true, {function(0, true, 0, second)})})});
}

TEST(Addresses, ClearingAndAssigningTheSameGivesTheSameBytes) {
    const Bytes original = twoModules(nicAddresses(0x31, joined({ipv4, ipv6, otherIpv6}), 0x21),
                                      nicAddresses(0x32, ipv6, 0x10));
    CPniFruData record(original);
    ASSERT_TRUE(record.ClearIpAddresses());
    EXPECT_EQ(record.GetImage(), twoModules());
    // The IPv4 address is inserted in front of the IPv6 address, and then replaced.
    EXPECT_TRUE(record.AssignIpv6Address(manufactureMac(0x31), otherIpv6, 0));
    EXPECT_TRUE(record.AssignIpv4Address(activeMac(0x31), otherIpv4));
    EXPECT_TRUE(record.AssignIpv4Address(joined({activeMac(0x31), {1, 2}}), ipv4))
        << "a MAC of 8 bytes is compared by its first six";
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x31), ipv6, 0));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x31), otherIpv6, 1));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(0x32), ipv6, 0));
    EXPECT_EQ(record.GetImage(), original);
}

bool refuses(const Bytes& image, const std::function<bool(CPniFruData&)>& change) {
    CPniFruData record(image);
    return !change(record) && record.GetImage() == image;
}

TEST(Addresses, ComeBackToAFunctionThatStatesALengthBehindTheImage) {
    Bytes image = functionImage(function(0, true, 0, nicAddresses(1, joined({ipv4, ipv6}), 0x11)));
    image[87] = byteOf(image[87] + 9U);  // the length of the function
    fixChecksums(image);
    CPniFruData record(image);
    ASSERT_TRUE(record.ClearIpAddresses());
    EXPECT_EQ(record.GetImage().size(), image.size() - 20);
    EXPECT_TRUE(record.AssignIpv4Address(activeMac(1), ipv4));
    EXPECT_TRUE(record.AssignIpv6Address(activeMac(1), ipv6, 0));
    EXPECT_EQ(record.GetImage(), image);
}

TEST(Addresses, ThatNobodyHasAreRefusedAndTraced) {
    const CTraceCapture trace(4);
    const auto assigns = [](const Bytes& image, const Bytes& mac, const Bytes& address = ipv4) {
        return !refuses(image,
                        [&](auto& record) { return record.AssignIpv4Address(mac, address); });
    };
    EXPECT_FALSE(assigns(twoModules(), activeMac(0x99)));
    EXPECT_FALSE(trace.Has("SetIPAddress() : PARAMETER_ERR"));
    EXPECT_FALSE(assigns(twoModules(), activeMac(0x31), Bytes(5, 1)));
    EXPECT_FALSE(assigns(twoModules(), Bytes(6, 0)));
    EXPECT_EQ(trace.Count("SetIPAddress() : PARAMETER_ERR"), 2);
    EXPECT_FALSE(assigns(sample("cut-short.fru"), activeMac(0x31)));
    EXPECT_TRUE(trace.Has("SetIPAddress() : INSUFFICENT_DATA_ERR"));
    EXPECT_FALSE(assigns(sample("end-of-list-on-first.fru"), activeMac(1)));
    EXPECT_TRUE(trace.Has("SetIPAddress() : FORMAT_ERR"));
    // The function holds a MAC but is too short for IP addresses: it never matches.
    EXPECT_FALSE(
        assigns(functionImage(function(0, true, 0, manufactureMac(1))), manufactureMac(1)));
    EXPECT_FALSE(trace.Has("Matching MAC address"));
}

TEST(Addresses, WhatDoesNotFitIsRefusedAndChangesNothing) {
    const auto refusesIpv6 = [](const Bytes& image, std::size_t slot) {
        return refuses(image, [slot](CPniFruData& record) {
            return record.AssignIpv6Address(activeMac(1), otherIpv6, slot);
        });
    };
    EXPECT_TRUE(refusesIpv6(functionImage(function(0, true, 0, nicAddresses(1))), 1))
        << "a slot behind the end of the list";
    const Bytes fifteen = nicAddresses(1, joined(std::vector<Bytes>(15, ipv6)), 0xF0);
    EXPECT_TRUE(refusesIpv6(functionImage(function(0, true, 0, fifteen)), 15))
        << "the counter cannot state a sixteenth address";
    Bytes longest = nicAddresses(1);
    longest.resize(252 * 4 - 34);
    EXPECT_TRUE(refusesIpv6(functionImage(function(0, true, 0, longest)), 0))
        << "the length of the function would overflow";
    const Bytes lying = functionImage(function(0, true, 0, nicAddresses(1, ipv4, 0x3F)));
    EXPECT_TRUE(refusesIpv6(lying, 0)) << "the counters state more than the function holds";
    EXPECT_TRUE(refuses(lying, [](auto& record) { return !record.ClearIpAddresses(); }));

    std::vector<Bytes> modules;
    for (unsigned i = 0; i < 255; ++i) {
        Bytes big = nicAddresses(byteOf(i));
        big.resize(i < 54 ? 166 : 162);
        modules.push_back(
            module(i % 64, i == 254, 3, {port(0, true, {function(0, true, 0, big)})}));
    }
    const Bytes full = recordImage(12, modules);
    ASSERT_TRUE(full.size() > 0xFFFF - 16 && full.size() <= 0xFFFF);
    EXPECT_TRUE(refusesIpv6(full, 0)) << "the image would become too long";
}

TEST(Addresses, GoToTheFunctionsWithRoomForThem) {
    const std::vector<MacAddress> macs(2, MacAddress(activeMac(9)));
    Bytes written = nicAddresses(1);
    put(written, 0, joined({activeMac(9), activeMac(9)}));
    for (const Bytes& cramped : {Bytes{}, Bytes(6)}) {
        CPniFruData record(twoModules(nicAddresses(1), cramped));
        EXPECT_TRUE(record.AssignMacAddresses(macs, 1));
        EXPECT_EQ(record.GetImage(), twoModules(written, cramped));
    }
    const auto assignsMacs = [&macs](auto& record) { return record.AssignMacAddresses(macs, 1); };
    EXPECT_TRUE(refuses(twoModules({}, Bytes(6)), assignsMacs));

    const auto fibreImage = [](const Bytes& addresses) {
        return recordImage(
            12, {module(4, true, 1,
                        {port(0, false,
                              {function(0, false, 1, Bytes(26)), function(1, true, 1, addresses)}),
                         port(1, false, {function(0, true, 1, Bytes(62))}),
                         port(2, true, {function(0, true, 1, addresses)})})});
    };
    const std::string names = "200000109B000001100000109B000002";
    CPniFruData fibre(fibreImage(Bytes(64)));
    PhysicalAddress address;
    address.wwnn = 0x200000109B000001;
    address.wwpn = 0x100000109B000002;
    EXPECT_TRUE(fibre.AssignWwnAddresses(std::vector<PhysicalAddress>(3, address), 0));
    EXPECT_EQ(fibre.GetImage(), fibreImage(textBytes(names + names)));
}

TEST(Addresses, MacsGoToTheirPortsInBothCopies) {
    CPniFruData record(twoModules());
    const std::vector<MacAddress> macs = {{0x0A, 1, 1, 1, 1, 1}, {0x0A, 2, 2, 2, 2, 2}};
    ASSERT_TRUE(record.AssignMacAddresses(macs, 1));
    EXPECT_TRUE(record.IsValid());
    EXPECT_EQ(record.GetModuleMacAddresses(1), macs);
    EXPECT_EQ(record.GetActiveMacAddresses(),
              (std::vector<MacAddress>{activeMac(0), macs[0], macs[1]}));
    EXPECT_EQ(record.GetModuleMacAddresses(0), (std::vector<MacAddress>{manufactureMac(0)}));
    EXPECT_EQ(record.FindModuleByMacAddress(macs[1]), FoundModule(true, 1));
    for (const MacAddress& unknown :
         {MacAddress(activeMac(0)), MacAddress{0x0A, 2, 2, 2, 2, 2, 0, 0}, MacAddress()}) {
        EXPECT_FALSE(record.FindModuleByMacAddress(unknown).first);
    }

    const Bytes before = record.GetImage();
    EXPECT_FALSE(record.AssignMacAddresses(std::vector<MacAddress>{macs[0], Bytes(6, 0)}, 1));
    EXPECT_FALSE(record.AssignMacAddresses(std::vector<MacAddress>{macs[0], Bytes(5, 1)}, 1));
    EXPECT_FALSE(record.AssignMacAddresses(macs, 2));
    EXPECT_FALSE(record.AssignWwnAddresses(std::vector<PhysicalAddress>(2), 1))
        << "no Fibre Channel module";
    EXPECT_EQ(record.GetImage(), before);
}

bool adds(CPniFruData& record, Bytes stream) {
    return record.AddPniModule(stream);
}

TEST(Modules, GetTheFirstFreeIdFromTheirSlotOn) {
    CPniFruData record(
        recordImage(12, {nicModule(0, false), nicModule(3, false), nicModule(4, true)}));
    Bytes stream = nicModule(3, true);
    ASSERT_TRUE(record.AddPniModule(stream));
    EXPECT_EQ(stream[0], 0xC5);
    EXPECT_EQ(record.GetModuleIds(), (Bytes{0, 3, 4, 5}));
    std::vector<Bytes> taken;
    for (unsigned id = 3; id <= 34; ++id) {
        taken.push_back(nicModule(id, id == 34));
    }
    CPniFruData full(recordImage(12, taken));
    const CTraceCapture trace(1);
    EXPECT_FALSE(adds(full, nicModule(3, false)));
    EXPECT_TRUE(
        trace.Has("CPniFruData         : AddPniModule() : ERROR! Exception when adding new "
                  "module: 'CPniFruData::GetNextAvailableModuleId() : No available module id "
                  "found?'"));
    EXPECT_EQ(full.GetImage(), recordImage(12, taken));
    EXPECT_EQ(full.GetNextAvailableModuleId(35), 35);
}

TEST(Modules, RefusedChangesLeaveEveryByte) {
    const Bytes image = recordImage(12, {nicModule(0, false), nicModule(3, true)});
    CPniFruData record(image);
    const Bytes good = nicModule(5, false);
    Bytes wrongPort = good;
    wrongPort[56] ^= 1;
    Bytes claims = good;  // its last function states a length behind the stream
    ++claims[61];
    for (const Bytes& stream : {joined({good, Bytes(4)}), Bytes(good.begin(), good.end() - 4),
                                wrongPort, claims, Bytes{}, Bytes(70000, 5)}) {
        EXPECT_FALSE(adds(record, stream));
    }
    EXPECT_THROW(record.RemoveModule(0), std::logic_error);
    EXPECT_FALSE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
    CPniFruData only(recordImage(12, {nicModule(3, true)}));
    EXPECT_FALSE(only.RemoveModule(0)) << "a record needs a module";
    Bytes damaged = image;
    damaged[40] ^= 1;
    CPniFruData invalid(damaged);
    EXPECT_FALSE(adds(invalid, good) || invalid.RemoveModule(1));
    EXPECT_EQ(invalid.GetImage(), damaged);
}

TEST(Modules, RecordsAreNeitherFilledBeyondTheirLengthNorTheirCount) {
    std::vector<Bytes> modules;
    for (unsigned m = 0; m < 255; ++m) {
        modules.push_back(module(m % 30, m == 254, 3, {}));
    }
    CPniFruData many(recordImage(12, modules));
    Bytes stream = module(3, false, 3, {});
    EXPECT_FALSE(many.AddPniModule(stream));
    EXPECT_EQ(stream, module(3, false, 3, {})) << "refused before anything is changed";
    std::vector<Bytes> functions;
    for (unsigned f = 0; f < 32; ++f) {
        functions.push_back(function(f, f == 31, 0, Bytes(930)));
    }
    // Two modules of 30,908 bytes each leave room for 3,693 in 65,535.
    const Bytes big = module(1, false, 3, {port(0, true, functions)});
    CPniFruData full(recordImage(12, {module(2, false, 3, {}), big, module(7, true, 3, {})}));
    ASSERT_TRUE(adds(full, big));
    const Bytes before = full.GetImage();
    Bytes third = big;
    EXPECT_FALSE(full.AddPniModule(third));
    EXPECT_EQ(third, big);
    EXPECT_EQ(full.GetImage(), before);
}

TEST(Modules, BytesBetweenTheLastModuleAndTheEndOfTheRecordSurvive) {
    Bytes image = joined({recordImage(12, {nicModule(0, false), nicModule(3, true)}), {0, 0, 9}});
    setRecordLength(image, image.size() - 22);
    CPniFruData record(image);
    ASSERT_TRUE(adds(record, nicModule(5, false)));
    EXPECT_EQ(record.GetModuleIds(), (Bytes{0, 3, 5}));
    ASSERT_TRUE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
}

TEST(Modules, AnOnboardModuleLeavesTheLockWithTheCaller) {
    CPniFruData record(recordImage(12, {nicModule(0, true)}));
    CTraceCapture trace(1);
    std::atomic<bool> read{false};
    std::thread reader;
    std::thread owner([&]() PNI_UNCHECKED {  // ends a write that AddPniModule began
        EXPECT_FALSE(adds(record, nicModule(0, false)));
        EXPECT_TRUE(
            trace.Has("AddPniModule() - Requested adding onboard adapter (location id == 0)"));
        EXPECT_TRUE(record.IsValid()) << "the owner of the lock can read";
        reader = std::thread([&] { read = record.IsValid(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(read);
        record.Lock().EndWrite();
    });
    owner.join();
    reader.join();
    EXPECT_TRUE(read);
}

}  // namespace
}  // namespace em_pni::test
