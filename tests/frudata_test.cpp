#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "tests/record_builder.h"

namespace em_pni::test {
namespace {

std::uint32_t validate(const Bytes& image) {
    return pniValidateFru(image.data(), image.size());
}

// Everything that reads an image and may be given any.
void readAll(const std::uint8_t* data, std::size_t size) {
    pniValidateFru(data, size);
    pni_findOemInternalUseArea(data, size);
    pni_findPniCommonArea(data, size);
    std::uint8_t version = 0;
    pni_getRecordFormatVersion(data, size, &version);
    const std::uint8_t count = pni_getModuleCount(data, size);
    for (unsigned i = 0; i < std::min<unsigned>(count + 1U, 5); ++i) {
        const auto index = static_cast<std::uint8_t>(i);
        for (const bool check : {true, false}) {
            const std::uint8_t* const found = pni_findPniModuleArea(data, size, index, check);
            ASSERT_TRUE(found == nullptr || (found >= data && found + 3 <= data + size));
        }
        pni_getPortCount(data, size, index);
        pni_getPortFunctionCount(data, size, index, 1);
        std::uint8_t block[96];
        pni_readAddressBlock(data, size, index, 0, 0, block, sizeof block);
    }
}

void operateOnAll(const Bytes& image) {
    CPniFruData record(image);
    const auto tolerant = [](auto operation) {
        try {
            operation();
        } catch (const std::runtime_error&) {
        }
    };
    record.UpdateInternalUseAreaChecksum();
    tolerant([&] { record.UpdateEndOfListBit(); });
    record.UpdateOemPniRecordChecksum();
    tolerant([&] { (void)record.GetModuleSize(0); });
    tolerant([&] { (void)record.GetStoredPniRealSize(); });
    tolerant([&] { record.CropToValidSize(); });
    ASSERT_LE(record.GetSize(), image.size());
}

TEST(Validation, JudgesTheSamples) {
    const std::pair<const char*, std::uint32_t> samples[] = {
        {"onboard-only.fru", PNI_SUCCESS},
        {"three-modules.fru", PNI_SUCCESS},
        {"three-modules-in-2k-device.fru", PNI_SUCCESS},
        {"text-technology-v10.fru", PNI_SUCCESS},
        {"mezzanine-high-nibble.fru", PNI_SUCCESS},
        {"sixty-modules.fru", PNI_SUCCESS},
        {"bad-record-checksum.fru", PNI_CHECKSUM_ERR},
        {"cut-short.fru", PNI_INSUFFICENT_DATA_ERR},
        {"end-of-list-on-first.fru", PNI_FORMAT_ERR},
    };
    for (const auto& [name, code] : samples) {
        EXPECT_EQ(validate(sample(name)), code) << name;
    }
    EXPECT_EQ(pniValidateFru(nullptr, 0), PNI_PARAMETER_ERR);
    EXPECT_EQ(validate(Bytes(7)), PNI_INSUFFICENT_DATA_ERR);
    EXPECT_STREQ(pniResultText(8), "INSUFFICENT_DATA_ERR");
    EXPECT_STREQ(pniResultText(9), "UNKNOWN ERROR");
}

// Each damage of a good image, its checksums mended, and the code that it must get.
TEST(Validation, NamesTheFirstFault) {
    const Bytes good = recordImage(12, {nicModule(0, false), nicModule(3, true)});
    ASSERT_EQ(validate(good), PNI_SUCCESS);
    const std::size_t firstModule = 26;
    const std::size_t firstPort = firstModule + 56;
    const std::size_t firstFunction = firstPort + 4;
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
        {"version 14", 17, 0x0E, PNI_FORMAT_ERR},
        {"version 15", 17, 0x0F, PNI_FORMAT_ERR},
        {"record longer than the image", 19, static_cast<std::uint8_t>(good[19] + 1U),
         PNI_INSUFFICENT_DATA_ERR},
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
    for (const std::size_t covered :
         {std::size_t{3}, std::size_t{12}, std::size_t{17}, firstFunction + 20}) {
        Bytes image = good;
        image[covered] = static_cast<std::uint8_t>(image[covered] + 0x10U);
        EXPECT_EQ(validate(image), PNI_CHECKSUM_ERR) << covered;
    }
}

TEST(Validation, AcceptsWhatIsOnlyOdd) {
    for (const unsigned version : {0x0AU, 0x0BU, 0x0CU, 0x1AU, 0x8BU, 0xFCU}) {
        EXPECT_EQ(validate(recordImage(version, {nicModule(0, true)})), PNI_SUCCESS) << version;
    }
    EXPECT_EQ(validate(recordImage(12, {nicModule(5, false), nicModule(5, true)})), PNI_SUCCESS)
        << "module ids may repeat";
    EXPECT_EQ(validate(recordImage(12, {module(0, true, 3, {})})), PNI_SUCCESS) << "no ports";

    // The last function says that it is longer than the image; nothing is read there.
    Bytes overlong = recordImage(12, {nicModule(0, true)});
    overlong[26 + 56 + 4 + 1] = 255;
    fixChecksums(overlong);
    EXPECT_EQ(validate(overlong), PNI_SUCCESS);
    operateOnAll(overlong);

    // The second module stands behind the record, but inside the image.
    Bytes beyond = recordImage(12, {nicModule(0, false), nicModule(1, true)});
    const std::size_t length = nicModule(0, false).size() + 4;
    beyond[18] = static_cast<std::uint8_t>(length);
    beyond[19] = static_cast<std::uint8_t>(length >> 8U);
    fixChecksums(beyond);
    EXPECT_EQ(validate(beyond), PNI_SUCCESS);
    // Cropped, it is gone: the walk would have to read outside.
    beyond.resize(22 + length);
    EXPECT_EQ(validate(beyond), PNI_FORMAT_ERR);
    EXPECT_EQ(pni_findPniModuleArea(beyond.data(), beyond.size(), 1, false), nullptr);
}

TEST(Bounds, CutAtEveryLengthNothingBehindTheEndIsRead) {
    for (const char* name : {"three-modules.fru", "text-technology-v10.fru"}) {
        const Bytes good = sample(name);
        const CGuardedBytes guarded(good);
        for (std::size_t size = 0; size <= good.size(); ++size) {
            readAll(guarded.Cut(good, size), size);
            if (size < good.size()) {
                // With the lengths made to fit again the walk itself meets the end.
                Bytes image(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
                if (size > 26) {
                    image[18] = static_cast<std::uint8_t>(size - 22);
                    image[19] = static_cast<std::uint8_t>((size - 22) >> 8U);
                    fixChecksums(image);
                    const CGuardedBytes mended(image);
                    readAll(mended.Data(), size);
                }
                ASSERT_NE(
                    validate(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
                    PNI_SUCCESS);
                operateOnAll(image);
            }
        }
    }
}

TEST(Bounds, EverySingleBitFlippedIsRefusedOrWalkedSafely) {
    for (const char* name : {"three-modules.fru", "text-technology-v10.fru"}) {
        const Bytes good = sample(name);
        const CGuardedBytes guarded(good);
        for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
            Bytes image = good;
            image[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
            std::memcpy(guarded.Data(), image.data(), image.size());
            ASSERT_NE(validate(image), PNI_SUCCESS)
                << "no single bit may change unnoticed: " << bit;
            readAll(guarded.Data(), image.size());
            operateOnAll(image);
            fixChecksums(image);
            std::memcpy(guarded.Data(), image.data(), image.size());
            readAll(guarded.Data(), image.size());
        }
    }
}

TEST(Search, GoesOnBehindDamagedListsUnlessTold) {
    Bytes image = sample("end-of-list-on-first.fru");
    EXPECT_EQ(pni_findPniModuleArea(image.data(), image.size(), 1, true), nullptr);
    const std::uint8_t* const second = pni_findPniModuleArea(image.data(), image.size(), 1, false);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(pni_getPortCount(image.data(), image.size(), 0), 2);
    EXPECT_EQ(pni_getPortCount(image.data(), image.size(), 1), 0);

    // A port with a wrong number: the next module is looked for at that port.
    const Bytes two = recordImage(12, {nicModule(0, false), nicModule(3, true)});
    Bytes badPort = two;
    badPort[26 + 56] = 0xC1;
    const std::uint8_t* found = pni_findPniModuleArea(badPort.data(), badPort.size(), 1, false);
    EXPECT_EQ(found, badPort.data() + 26 + 56);
    Bytes badFunction = two;
    badFunction[26 + 56 + 4] = 0xC2;
    found = pni_findPniModuleArea(badFunction.data(), badFunction.size(), 1, false);
    EXPECT_EQ(found, badFunction.data() + 26 + 56 + 4);
}

TEST(Search, CountsAndAddressBlocks) {
    const Bytes image = sample("three-modules.fru");
    const std::uint8_t* const data = image.data();
    EXPECT_EQ(pni_getPortCount(data, image.size(), 2), 2);
    EXPECT_EQ(pni_getPortCount(data, image.size(), 3), 0);
    EXPECT_EQ(pni_getPortFunctionCount(data, image.size(), 2, 1), 1);
    EXPECT_EQ(pni_getPortFunctionCount(data, image.size(), 2, 2), 0);
    Bytes block(100, 0xAA);
    ASSERT_EQ(pni_readAddressBlock(data, image.size(), 2, 1, 0, block.data(), block.size()),
              PNI_SUCCESS);
    EXPECT_EQ(std::string(block.begin(), block.begin() + 32), "200000109B000002100000109B000002");
    EXPECT_EQ(Bytes(block.begin() + 96, block.end()), Bytes(4, 0));
    EXPECT_EQ(pni_readAddressBlock(data, image.size(), 0, 0, 0, block.data(), block.size()),
              PNI_UNSUPPORTED_ERR);
    EXPECT_EQ(pni_readAddressBlock(data, image.size(), 2, 0, 1, block.data(), block.size()),
              PNI_PARAMETER_ERR);
    EXPECT_EQ(pni_readAddressBlock(data, image.size(), 2, 0, 0, nullptr, 0), PNI_PARAMETER_ERR);
}

TEST(Technology, TextsAreComparedWithTheirNul) {
    const std::pair<const char*, FunctionTechnology> texts[] = {
        {"NIC", FunctionTechnology::nic},     {"FC", FunctionTechnology::fc},
        {"FCoE", FunctionTechnology::fcoe},   {"iSCSI", FunctionTechnology::iscsi},
        {"IB", FunctionTechnology::ib},       {"NICX", FunctionTechnology::unknown},
        {"FCX", FunctionTechnology::unknown}, {"nic", FunctionTechnology::unknown},
        {"", FunctionTechnology::unknown},
    };
    for (const auto& [text, technology] : texts) {
        Bytes bytes = function(0, true, 0, nicAddresses(1));
        put(bytes, 14, textBytes(text));
        const CImageView image(bytes.data(), bytes.size());
        EXPECT_EQ(CPniPortFunction(image, 0, 0, 10).Technology(), technology) << text;
    }
}

TEST(FruData, CropsToTheRealSizeAndMeasuresModules) {
    CPniFruData record(sample("three-modules-in-2k-device.fru"));
    EXPECT_EQ(record.GetStoredPniRealSize(), 826U);
    EXPECT_GT(record.GetModuleSize(2), 1222) << "bytes behind the record count until it is cropped";
    record.CropToValidSize();
    EXPECT_EQ(record.GetImage(), sample("three-modules.fru"));
    EXPECT_EQ(record.GetModuleSize(0) + record.GetModuleSize(1) + record.GetModuleSize(2) + 26,
              826);
    EXPECT_THROW((void)record.GetModuleSize(3), std::runtime_error);
    CPniFruData broken(sample("cut-short.fru"));
    EXPECT_THROW(broken.CropToValidSize(), std::runtime_error);
    EXPECT_EQ(broken.GetSize(), 825U);
}

TEST(FruData, RepairsEndMarksAndChecksums) {
    CPniFruData record(sample("end-of-list-on-first.fru"));
    ASSERT_FALSE(record.IsValid());
    EXPECT_TRUE(record.UpdateInternalUseAreaChecksum());
    record.UpdateEndOfListBit();
    EXPECT_FALSE(record.IsValid()) << "the record checksum covers the end marks";
    record.UpdateOemPniRecordChecksum();
    EXPECT_TRUE(record.IsValid());
    const CPniFruData copy = record;
    record.SetImage({});
    EXPECT_TRUE(copy.IsValid());
    EXPECT_FALSE(record.UpdateInternalUseAreaChecksum());
}

TEST(FruData, ReadersSeeWholeImagesWhileAnotherThreadReplacesThem) {
    const Bytes first = sample("three-modules.fru");
    const Bytes second = sample("onboard-only.fru");
    CPniFruData record(first);
    std::thread writer([&] {
        for (int i = 0; i < 300; ++i) {
            record.SetImage(i % 2 == 0 ? second : first);
        }
    });
    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(record.IsValid());
        const CPniFruData copy = record;
        ASSERT_TRUE(copy.GetImage() == first || copy.GetImage() == second);
    }
    writer.join();
}

}  // namespace
}  // namespace em_pni::test
