#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "tests/record_builder.h"

namespace em_pni::test {
namespace {

// Offsets in an image whose first module is a nicModule.
constexpr std::size_t firstModule = 26;
constexpr std::size_t firstPort = firstModule + 56;
constexpr std::size_t firstFunction = firstPort + 4;

std::uint32_t validate(const Bytes& image) {
    return pniValidateFru(image.data(), image.size());
}

Bytes twoModules() {
    return recordImage(12, {nicModule(0, false), nicModule(3, true)});
}

TEST(Validation, AcceptsTheSamples) {
    for (const char* name :
         {"onboard-only.fru", "three-modules-in-2k-device.fru", "sixty-modules.fru",
          "text-technology-v10.fru", "mezzanine-high-nibble.fru"}) {
        EXPECT_EQ(validate(sample(name)), PNI_SUCCESS) << name;
    }
    EXPECT_EQ(validate(sample("bad-record-checksum.fru")), PNI_CHECKSUM_ERR);
    EXPECT_EQ(validate(sample("cut-short.fru")), PNI_INSUFFICENT_DATA_ERR);
    EXPECT_EQ(pniValidateFru(nullptr, 0), PNI_PARAMETER_ERR);
    EXPECT_EQ(validate(Bytes(7)), PNI_INSUFFICENT_DATA_ERR);
    EXPECT_EQ(validate(Bytes(8)), PNI_FORMAT_ERR);
}

TEST(Validation, NoSingleBitChangesUnnoticed) {
    for (const char* name : {"three-modules.fru", "text-technology-v10.fru"}) {
        Bytes image = sample(name);
        for (std::size_t bit = 0; bit < image.size() * 8; ++bit) {
            image[bit / 8] ^= byteOf(1U << bit % 8);
            ASSERT_NE(validate(image), PNI_SUCCESS) << bit;
            image[bit / 8] ^= byteOf(1U << bit % 8);
        }
    }
}

// Each row changes one byte of a good image and repairs the checksums. The code is the expected
// result.
TEST(Validation, NamesTheFirstFault) {
    const Bytes good = twoModules();
    const struct {
        const char* what;
        std::size_t offset;
        std::uint8_t value;
        std::uint32_t code;
    } damages[] = {
        {"no internal use area", 1, 0, PNI_FORMAT_ERR},
        {"internal use area outside", 1, 200, PNI_PARAMETER_ERR},
        {"internal use area format", 8, 2, PNI_FORMAT_ERR},
        {"internal use area type", 9, 0, PNI_FORMAT_ERR},
        {"no modules", 11, 0, PNI_FORMAT_ERR},
        {"header outside", 10, 255, PNI_INSUFFICENT_DATA_ERR},
        {"record type", 16, 0xC0, PNI_FORMAT_ERR},
        {"version 9", 17, 0x09, PNI_FORMAT_ERR},
        {"version 13", 17, 0x0D, PNI_FORMAT_ERR},
        {"record longer than the image", 19, byteOf(good[19] + 1U), PNI_INSUFFICENT_DATA_ERR},
        {"subtype", 25, 2, PNI_FORMAT_ERR},
        {"first module marked last", firstModule, 0xC0, PNI_FORMAT_ERR},
        {"port number", firstPort, 0xC1, PNI_FORMAT_ERR},
        {"port not marked last", firstPort, 0x40, PNI_FORMAT_ERR},
        {"function number", firstFunction, 0xC1, PNI_FORMAT_ERR},
        {"function not marked last", firstFunction, 0x40, PNI_FORMAT_ERR},
        {"port that is not there", firstModule + 2, 2, PNI_FORMAT_ERR},
        {"function length", firstFunction + 1, 19, PNI_FORMAT_ERR},
    };
    for (const auto& damage : damages) {
        Bytes image = good;
        image[damage.offset] = damage.value;
        fixChecksums(image);
        EXPECT_EQ(validate(image), damage.code) << damage.what;
    }
    for (const std::size_t covered : {3U, 12U, 17U, 106U}) {
        Bytes image = good;
        image[covered] ^= 0x10U;
        EXPECT_EQ(validate(image), PNI_CHECKSUM_ERR) << covered;
    }
}

TEST(Validation, AcceptsWhatIsOnlyOdd) {
    for (const unsigned version : {0x0AU, 0x0BU, 0x0CU, 0x1AU, 0x8BU, 0xFCU}) {
        EXPECT_EQ(validate(recordImage(version, {nicModule(0, true)})), PNI_SUCCESS) << version;
    }
    EXPECT_EQ(validate(recordImage(12, {nicModule(5, false), nicModule(5, true)})), PNI_SUCCESS);
    EXPECT_EQ(validate(recordImage(12, {module(0, true, 3, {})})), PNI_SUCCESS);

    // The last function states a length behind the image. Nothing is read there.
    Bytes overlong = recordImage(12, {nicModule(0, true)});
    overlong[firstFunction + 1] = 255;
    fixChecksums(overlong);
    EXPECT_EQ(validate(overlong), PNI_SUCCESS);

    // The second module stands behind the record, but inside the image.
    Bytes beyond = twoModules();
    const std::size_t length = nicModule(0, false).size() + 4;
    setRecordLength(beyond, length);
    EXPECT_EQ(validate(beyond), PNI_SUCCESS);
    // After cropping, the walk would have to read outside the image.
    beyond.resize(22 + length);
    EXPECT_EQ(validate(beyond), PNI_FORMAT_ERR);
    EXPECT_EQ(pni_findPniModuleArea(beyond.data(), beyond.size(), 1, false), nullptr);
    setRecordLength(beyond, 4);
    beyond.resize(26);
    EXPECT_EQ(pni_findPniModuleArea(beyond.data(), beyond.size(), 0, false), nullptr);
    beyond[1] = 0;
    EXPECT_EQ(pni_findOemInternalUseArea(beyond.data(), beyond.size()), nullptr);
}

TEST(Search, GoesOnBehindDamagedListsUnlessTold) {
    const Bytes image = sample("end-of-list-on-first.fru");
    EXPECT_EQ(pni_findPniModuleArea(image.data(), image.size(), 1, true), nullptr);
    EXPECT_NE(pni_findPniModuleArea(image.data(), image.size(), 1, false), nullptr);
    // The next module is taken to begin at the port or function with the wrong number.
    for (const std::size_t wrong : {firstPort, firstFunction}) {
        Bytes damaged = twoModules();
        damaged[wrong] = 0xC2;
        EXPECT_EQ(pni_findPniModuleArea(damaged.data(), damaged.size(), 1, false),
                  damaged.data() + wrong);
    }
}

TEST(Technology, TextsAreComparedWithTheirNul) {
    using enum FunctionTechnology;
    const std::pair<const char*, FunctionTechnology> texts[] = {
        {"NIC", nic},      {"FC", fc},       {"FCoE", fcoe},   {"iSCSI", iscsi}, {"IB", ib},
        {"NICX", unknown}, {"FCX", unknown}, {"nic", unknown}, {"", unknown},
    };
    for (const auto& [text, technology] : texts) {
        Bytes bytes = function(0, true, 0, nicAddresses(1));
        put(bytes, 14, textBytes(text));
        const CByteView image(bytes.data(), bytes.size());
        EXPECT_EQ(CPniPortFunction(image, 0, 0, 10).Technology(), technology) << text;
    }
}

TEST(FruData, CropsAndRepairs) {
    CPniFruData record(sample("three-modules-in-2k-device.fru"));
    EXPECT_GT(record.GetModuleSize(2), 1222) << "without a crop the bytes behind the record count";
    record.CropToValidSize();
    EXPECT_EQ(record.GetImage(), sample("three-modules.fru"));
    EXPECT_THROW((void)record.GetModuleSize(3), std::runtime_error);

    record.SetImage(sample("end-of-list-on-first.fru"));
    EXPECT_THROW(record.CropToValidSize(), std::runtime_error);
    EXPECT_TRUE(record.UpdateInternalUseAreaChecksum());
    record.UpdateEndOfListBit();
    EXPECT_FALSE(record.IsValid()) << "the record checksum covers the end marks";
    record.UpdateOemPniRecordChecksum();
    EXPECT_TRUE(record.IsValid());
    record.SetImage({});
    EXPECT_FALSE(record.UpdateInternalUseAreaChecksum());
}

TEST(FruData, ReadersSeeWholeImagesWhileAnotherThreadReplacesThem) {
    const Bytes images[] = {sample("three-modules.fru"), sample("onboard-only.fru")};
    CPniFruData record(images[0]);
    std::thread writer([&] {
        for (int i = 0; i < 300; ++i) {
            record.SetImage(images[i % 2]);
        }
    });
    for (int i = 0; i < 300; ++i) {
        const Bytes image = CPniFruData(record).GetImage();
        ASSERT_TRUE(record.IsValid() && (image == images[0] || image == images[1]));
    }
    writer.join();
}

}  // namespace
}  // namespace em_pni::test
