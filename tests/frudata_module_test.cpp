// Modules put into a record and taken out of it.
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <thread>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "tests/record_builder.h"
#include "tests/trace_capture.h"

namespace em_pni {
namespace {

using namespace test;

// Any module of any shape; id and end mark as asked.
Bytes randomModule(std::mt19937& random, unsigned id, bool last) {
    const auto below = [&random](unsigned limit) {
        return static_cast<unsigned>(random() % limit);
    };
    std::vector<Bytes> ports;
    const unsigned portCount = below(4);
    for (unsigned p = 0; p < portCount; ++p) {
        std::vector<Bytes> functions;
        const unsigned functionCount = below(4);
        for (unsigned f = 0; f < functionCount; ++f) {
            Bytes noise(below(90));
            std::generate(noise.begin(), noise.end(), [&] { return std::uint8_t(random()); });
            functions.push_back(function(f, f + 1 == functionCount, below(5), noise));
        }
        ports.push_back(port(p, p + 1 == portCount, functions));
    }
    Bytes bytes = module(id, last, below(5), ports);
    bytes[0] ^= static_cast<std::uint8_t>(below(2) * 0x40);
    return bytes;
}

Bytes randomRecord(std::mt19937& random) {
    std::vector<Bytes> modules;
    const unsigned count = 1 + static_cast<unsigned>(random() % 12);
    for (unsigned m = 0; m < count; ++m) {
        modules.push_back(randomModule(random, m, m + 1 == count));
    }
    Bytes image = recordImage(0xB0 + 10 + static_cast<unsigned>(random() % 3), modules);
    std::generate(image.begin() + 22, image.begin() + 25, [&] { return std::uint8_t(random()); });
    fixChecksums(image);
    return image;
}

TEST(Modules, InsertThenRemoveGivesBackTheSameBytes) {
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        const Bytes image = randomRecord(random);
        CPniFruData record(image);
        Bytes stream = randomModule(random, 1 + static_cast<unsigned>(random() % 63), false);
        const std::uint8_t index = record.GetModuleCount();
        ASSERT_TRUE(record.AddPniModule(stream)) << round;
        // Every module but the last, whose end mark goes, is as it was, and the new one follows.
        const Bytes grown = record.GetImage();
        ASSERT_EQ(grown.size(), image.size() + stream.size());
        stream[0] |= 0x80;
        ASSERT_TRUE(std::equal(stream.begin(), stream.end(),
                               grown.end() - static_cast<std::ptrdiff_t>(stream.size())));
        unsigned changed = 0;
        for (std::size_t i = 0; i < image.size(); ++i) {
            changed += image[i] != grown[i] ? 1U : 0U;
        }
        ASSERT_LE(changed, 7U);  // count, its checksum, length (2), two checksums, end mark
        ASSERT_TRUE(record.IsValid());
        ASSERT_TRUE(record.RemoveModule(index)) << round;
        ASSERT_EQ(record.GetImage(), image) << round;
        // One from the middle leaves the others.
        const auto middle = static_cast<std::uint8_t>(random() % index);
        if (middle > 0) {
            auto ids = record.GetModuleIds();
            ids.erase(ids.begin() + middle);
            ASSERT_TRUE(record.RemoveModule(middle));
            ASSERT_EQ(record.GetModuleIds(), ids);
        }
    }
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
    const Bytes before = full.GetImage();
    Bytes again = nicModule(3, false);
    CTraceCapture trace(1);
    EXPECT_FALSE(full.AddPniModule(again));
    EXPECT_TRUE(
        trace.Has("CPniFruData         : AddPniModule() : ERROR! Exception when adding new "
                  "module: 'CPniFruData::GetNextAvailableModuleId() : No available module id "
                  "found?'"));
    EXPECT_EQ(full.GetImage(), before);
    EXPECT_EQ(full.GetNextAvailableModuleId(35), 35);
}

TEST(Modules, RefusedChangesLeaveEveryByte) {
    const Bytes image = recordImage(12, {nicModule(0, false), nicModule(3, true)});
    const Bytes good = nicModule(5, false);
    Bytes longer = joined({good, {0, 0, 0, 0}});
    Bytes shorter(good.begin(), good.end() - 4);
    Bytes wrongPort = good;
    wrongPort[56] ^= 1;
    Bytes claims = good;  // its last function says that it goes on behind the stream
    claims[61] = static_cast<std::uint8_t>(claims[61] + 1);
    for (Bytes stream : {longer, shorter, wrongPort, claims, Bytes{}, Bytes(70000, 5)}) {
        CPniFruData record(image);
        EXPECT_FALSE(record.AddPniModule(stream));
        EXPECT_EQ(record.GetImage(), image);
    }
    CPniFruData record(image);
    EXPECT_THROW(record.RemoveModule(0), std::logic_error);
    EXPECT_FALSE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
    CPniFruData only(recordImage(12, {nicModule(3, true)}));
    EXPECT_FALSE(only.RemoveModule(0)) << "a record without modules is none";
    Bytes damaged = image;
    damaged[40] ^= 1;
    CPniFruData invalid(damaged);
    Bytes stream = good;
    EXPECT_FALSE(invalid.AddPniModule(stream) || invalid.RemoveModule(1));
    EXPECT_EQ(invalid.GetImage(), damaged);
}

TEST(Modules, RecordsAreNeitherFilledBeyondTheirLengthNorTheirCount) {
    std::vector<Bytes> modules;
    for (unsigned m = 0; m < 255; ++m) {
        modules.push_back(module(m % 30, m == 254, 3, {}));
    }
    CPniFruData many(recordImage(12, modules));
    Bytes stream = module(40, false, 3, {});
    const Bytes asked = stream;
    EXPECT_FALSE(many.AddPniModule(stream));
    EXPECT_EQ(stream, asked);
    std::vector<Bytes> functions;
    for (unsigned f = 0; f < 32; ++f) {
        functions.push_back(function(f, f == 31, 0, Bytes(930)));
    }
    // Two modules of 30,908 bytes each leave room for 3,693 in 65,535.
    const Bytes big = module(1, false, 3, {port(0, true, functions)});
    CPniFruData full(recordImage(12, {module(2, false, 3, {}), big, module(7, true, 3, {})}));
    Bytes second = big;
    ASSERT_TRUE(full.AddPniModule(second));
    const Bytes before = full.GetImage();
    Bytes third = big;
    EXPECT_FALSE(full.AddPniModule(third));
    EXPECT_EQ(third, big) << "refused before anything is changed";
    EXPECT_EQ(full.GetImage(), before);
}

TEST(Modules, BytesBetweenTheLastModuleAndTheEndOfTheRecordSurvive) {
    Bytes image = recordImage(12, {nicModule(0, false), nicModule(3, true)});
    const Bytes slack = {0, 0, 0, 9, 9};
    image.insert(image.end(), slack.begin(), slack.end());
    image[18] = static_cast<std::uint8_t>(image[18] + slack.size());
    fixChecksums(image);
    CPniFruData record(image);
    Bytes stream = nicModule(5, false);
    ASSERT_TRUE(record.AddPniModule(stream));
    EXPECT_EQ(record.GetModuleIds(), (Bytes{0, 3, 5}));
    const Bytes grown = record.GetImage();
    EXPECT_TRUE(std::equal(slack.begin(), slack.end(), grown.end() - 5));
    ASSERT_TRUE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
    // Not cropped: what lies behind the record is none of the last module's.
    Bytes padded = joined({image, Bytes(100, 0xAA)});
    CPniFruData uncropped(padded);
    ASSERT_TRUE(uncropped.RemoveModule(1));
    EXPECT_EQ(uncropped.GetModuleIds(), Bytes{0});
    uncropped.CropToValidSize();
    EXPECT_EQ(uncropped.GetSize(), image.size() - stream.size());
}

TEST(Modules, AnOnboardModuleLeavesTheLockWithTheCaller) {
    CPniFruData record(recordImage(12, {nicModule(0, true)}));
    Bytes stream = nicModule(0, false);
    CTraceCapture trace(1);
    std::atomic<bool> read{false};
    std::thread reader;
    std::thread owner([&]() PNI_UNCHECKED {  // ends a write that AddPniModule began
        EXPECT_FALSE(record.AddPniModule(stream));
        EXPECT_TRUE(
            trace.Has("AddPniModule() - Requested adding onboard adapter (location id == 0)"));
        EXPECT_TRUE(record.IsValid()) << "its owner goes on";
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
}  // namespace em_pni
