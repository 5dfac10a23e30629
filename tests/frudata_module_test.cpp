// Modules put into a record and taken out of it.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "frudata/pni_fru_data.h"
#include "tests/record_builder.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

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
    Bytes claims = good;  // its last function says that it goes on behind the stream
    ++claims[61];
    for (const Bytes& stream : {joined({good, Bytes(4)}), Bytes(good.begin(), good.end() - 4),
                                wrongPort, claims, Bytes{}, Bytes(70000, 5)}) {
        EXPECT_FALSE(adds(record, stream));
    }
    EXPECT_THROW(record.RemoveModule(0), std::logic_error);
    EXPECT_FALSE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
    CPniFruData only(recordImage(12, {nicModule(3, true)}));
    EXPECT_FALSE(only.RemoveModule(0)) << "a record without modules is none";
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
    EXPECT_FALSE(adds(many, module(40, false, 3, {})));
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
    EXPECT_EQ(third, big) << "refused before anything is changed";
    EXPECT_EQ(full.GetImage(), before);
}

TEST(Modules, BytesBetweenTheLastModuleAndTheEndOfTheRecordSurvive) {
    const Bytes slack = {0, 0, 0, 9, 9};
    Bytes image = joined({recordImage(12, {nicModule(0, false), nicModule(3, true)}), slack});
    setRecordLength(image, image.size() - 22);
    CPniFruData record(image);
    const Bytes stream = nicModule(5, false);
    ASSERT_TRUE(adds(record, stream));
    EXPECT_EQ(record.GetModuleIds(), (Bytes{0, 3, 5}));
    const Bytes grown = record.GetImage();
    EXPECT_EQ(Bytes(grown.end() - 5, grown.end()), slack);
    ASSERT_TRUE(record.RemoveModule(2));
    EXPECT_EQ(record.GetImage(), image);
    // Not cropped: what lies behind the record is none of the last module's.
    CPniFruData uncropped(joined({image, Bytes(100, 0xAA)}));
    ASSERT_TRUE(uncropped.RemoveModule(1));
    EXPECT_EQ(uncropped.GetModuleIds(), Bytes{0});
    uncropped.CropToValidSize();
    EXPECT_EQ(uncropped.GetSize(), image.size() - stream.size());
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
}  // namespace em_pni::test
