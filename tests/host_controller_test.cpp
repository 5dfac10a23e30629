// The played controller: what good and broken messages do to the file.
#include <gtest/gtest.h>
#include <numeric>

#include "host/machine/fru_image.h"
#include "host/output/host_error.h"
#include "host/session/played_host.h"
#include "tests/fake_controller.h"
#include "tests/temp_directory.h"
#include "tests/unreadable_message.h"

namespace em_pni::host_test {
namespace {

using test::byteOf;
using test::Bytes;

struct CNoNetwork final : CINetworkView {
    NetworkSnapshot Take() override { return {}; }
};

CKrcpMessage parse(const std::string& json) {
    CKrcpMessage message;
    message.document.Parse(json.c_str());
    return message;
}

class HostController : public testing::Test {
  protected:
    HostController() { std::iota(all_.begin(), all_.end(), std::uint8_t{0}); }

    std::uint32_t Send(CKrcpMessage& message, const std::string& path) {
        const CFruPlace place({.path = path}, CFruPlace::Use::write);
        CFruImage image(place);
        CFruController controller(image, listener_, CFruController::Access::readWrite);
        CPlayedHost(&controller, network_, console_).SendRequest(nullptr, message, 1000);
        return krcp::status(message);
    }
    std::uint32_t Write(const Bytes& bytes, const std::string& path) {
        CKrcpMessage message = krcp::makeRequest(krcp::writeFru, krcp::pniFruExtension, 0, 0);
        krcp::setRawBytes(message, bytes);
        return Send(message, path);
    }

    test::CTempDirectory folder_;
    CListener listener_;
    std::ostringstream output_;
    CConsole console_{output_, output_};
    CNoNetwork view_;
    CNetworkAnswers network_{view_, console_};
    Bytes all_ = Bytes(256);  // every byte value once
};

TEST_F(HostController, AMessageOfAnotherInterfaceIsRefused) {
    test::CUnreadableMessage message(test::CUnreadableMessage::OtherTag());
    EXPECT_EQ(Send(message.Get(), folder_.Write("a.fru", "old")), krcp::REQUEST_PENDING);
    EXPECT_TRUE(message.Get().tag == test::CUnreadableMessage::RefusalTag());
    EXPECT_EQ(output_.str(), "pni-host: messages of the module refused: " +
                                 tagDifference(test::CUnreadableMessage::OtherTag()) + "\n");
}

TEST_F(HostController, AWriteKeepsEveryByteAndTheSymbolicLink) {
    const std::string path = folder_.Write("a.fru", "old");
    const std::string link = folder_.File("link.fru");
    std::filesystem::create_symlink("a.fru", link);
    ASSERT_EQ(Write(all_, link), krcp::SUCCESS);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(test::contentOf(path), std::string(all_.begin(), all_.end()));
    CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
    EXPECT_EQ(Send(read, link), krcp::SUCCESS);
    Bytes bytes;
    krcp::copyRawBytes(read, bytes);
    EXPECT_EQ(bytes, all_);
}

TEST_F(HostController, ABadMessageChangesNothing) {
    const std::string path = folder_.Write("a.fru", "old");
    for (const auto& [status, commands] :
         std::vector<std::pair<krcp::Status, std::vector<std::string>>>{
             {krcp::INVALID_SET_VALUE,
              {R"({"OC":3089,"OE":46})", R"({"OC":3089,"OE":46,"DA":[1]})",
               R"({"OC":3089,"OE":46,"DA":{"RAW":[]}})",
               R"({"OC":3089,"OE":46,"DA":{"RAW":[1,256]}})"}},
             {krcp::INVALID_CMD,
              {"{}", R"({"OC":3088})", R"({"OC":3089,"OE":45,"DA":{"RAW":[1]}})",
               R"({"OC":5889.0})", R"({"OC":"3088","OE":46})", R"({"OC":3088.5,"OE":46})",
               R"({"OC":[],"OE":{}})", R"({"OC":68624,"OE":46})"}}}) {
        for (const std::string& command : commands) {
            CKrcpMessage message = parse(R"({"SIP":{"CMD":[)" + command + "]}}");
            EXPECT_EQ(Send(message, path), status) << command;
        }
    }
    for (const std::string json : {"null", "{}", R"({"SIP":7})", R"({"SIP":{"CMD":[null]}})"}) {
        CKrcpMessage message = parse(json);
        Send(message, path);
        EXPECT_TRUE(message.document == parse(json).document) << json;
    }
    EXPECT_EQ(Write(Bytes(CFruImage::maxSize + 1), path), krcp::SET_STRING_TOOLONG);
    EXPECT_EQ(test::contentOf(path), "old");
}

TEST_F(HostController, StaysInTheFolderThatItOpened) {
    const CFruPlace place({.path = folder_.Write("mine/a.fru", "old")}, CFruPlace::Use::write);
    CFruImage image(place);
    folder_.Write("other/a.fru", "other");
    std::filesystem::rename(folder_.File("mine"), folder_.File("moved"));
    std::filesystem::create_symlink("other", folder_.File("mine"));
    EXPECT_EQ(image.Read().size(), 3U);
    image.Write({}, all_);
    EXPECT_EQ(test::contentOf(folder_.File("other/a.fru")), "other");
    EXPECT_EQ(test::contentOf(folder_.File("moved/a.fru")).size(), all_.size());
    folder_.Write("secret", "secret");
    std::filesystem::remove(folder_.File("moved/a.fru"));
    std::filesystem::create_symlink("../secret", folder_.File("moved/a.fru"));
    EXPECT_THROW(static_cast<void>(image.Read()), CHostError);
}

// 16 bytes: a length of two units, then bytes that differ from those of every other area.
Bytes infoArea(std::uint8_t mark) {
    Bytes area(16, mark);
    test::put(area, 0, {1, 2});
    return area;
}

// Two multi-records of 5 + 3 bytes.
const Bytes recordList{0xC0, 2,    3, 9, 0x32, 1, 2, 3,  //
                       0xC0, 0x82, 3, 9, 0xB2, 4, 5, 6};

// Where the areas stand in the header: 2 chassis, 3 board, 4 product, 5 multi-record.
struct Neighbour {
    std::size_t field;
    std::size_t unit;  // offset, in units of 8 bytes
    Bytes bytes;
};

Bytes recordWithMac(std::uint8_t lastMacByte) {
    return test::functionImage(test::function(0, true, 0, test::nicAddresses(lastMacByte)));
}

const std::size_t recordSize = recordWithMac(0).size();
const std::size_t behind = (recordSize + 7) / 8;  // the first unit behind the record

// This record in an image of 640 bytes, with `shift` bytes behind the common header. Bytes of
// nobody are `fill`.
Bytes imageWith(const std::vector<Neighbour>& neighbours, Bytes record, std::size_t shift = 0,
                std::uint8_t fill = 0) {
    record.insert(record.begin() + 8, shift, fill);
    record.resize(640, fill);
    record[1] = byteOf(1 + shift / 8);
    for (const Neighbour& neighbour : neighbours) {
        record[neighbour.field] = byteOf(neighbour.unit);
        if (neighbour.unit * 8 < record.size()) {
            test::put(record, neighbour.unit * 8, neighbour.bytes);
        }
    }
    test::fixSum(record, 7, 0, 8);
    return record;
}

TEST_F(HostController, AWriteKeepsTheAreasBesideTheRecord) {
    const Bytes longArea = test::joined({{1, 8}, Bytes(62, 0xB0)});
    for (const auto& [shift, neighbours] :
         std::vector<std::pair<std::size_t, std::vector<Neighbour>>>{
             {32, {{3, 1, infoArea(0xB0)}, {2, 3, infoArea(0xC0)}}},
             {0, {{3, behind, longArea}}},
             {0, {{4, 40, infoArea(0xF0)}, {3, 78, infoArea(0xB0)}, {5, 60, recordList}}},
             {16, {{5, 1, recordList}, {2, 70, infoArea(0xC0)}, {4, behind + 2, infoArea(0xF0)}}},
             {0, {{3, 60, longArea}, {2, 61, infoArea(1)}, {4, 200, {}}, {5, 255, {}}}}}) {
        const Bytes old = imageWith(neighbours, recordWithMac(7), shift, 0xEE);
        const std::string path = folder_.Write("a.fru", {old.begin(), old.end()});
        const Bytes now = imageWith(neighbours, recordWithMac(8), shift);
        for (const std::size_t size : {now.size(), shift + recordSize}) {
            Bytes written = now;  // as the module writes it: zeros or nothing behind the record
            written.resize(shift + recordSize);
            written.resize(size);
            ASSERT_EQ(Write(written, path), krcp::SUCCESS) << shift;
            EXPECT_EQ(test::contentOf(path), std::string(now.begin(), now.end())) << shift;
        }
    }
}

TEST_F(HostController, ARecordThatNeedsThePlaceOfAnAreaIsRefused) {
    const Bytes grown =
        test::recordImage(12, {test::nicModule(0, false), test::nicModule(1, true)});
    for (const auto& [neighbour, record, status] :
         std::vector<std::tuple<Neighbour, Bytes, krcp::Status>>{
             {{3, behind, infoArea(0xB0)}, grown, krcp::SET_STRING_TOOLONG},
             {{3, behind, infoArea(0xB0)}, recordWithMac(8), krcp::SUCCESS},
             {{5, grown.size() / 8, recordList}, grown, krcp::SET_STRING_TOOLONG},
             {{5, (grown.size() + 7) / 8, recordList}, grown, krcp::SUCCESS},
             {{4, 1, {}}, recordWithMac(8), krcp::SET_STRING_TOOLONG},           // the same place
             {{2, behind - 1, {}}, recordWithMac(8), krcp::SET_STRING_TOOLONG},  // in the record
             {{3, behind, infoArea(0xB0)}, Bytes(640), krcp::SET_STRING_TOOLONG}}) {
        const Bytes old = imageWith({neighbour}, recordWithMac(7), 0, 0xEE);
        const std::string path = folder_.Write("a.fru", {old.begin(), old.end()});
        Bytes written = record;
        if (record.size() < old.size()) {
            written.resize(old.size());
            test::put(written, 0, {old.begin(), old.begin() + 8});
        }
        EXPECT_EQ(Write(written, path), status);
        const std::string now = test::contentOf(path);
        EXPECT_EQ(now == std::string(old.begin(), old.end()), status != krcp::SUCCESS);
        EXPECT_EQ(now.size(), old.size());
    }
}

TEST_F(HostController, AnAreaThatStatesNoLengthReachesToTheNext) {
    Bytes brokenList = recordList;
    brokenList[12] ^= 1U;
    for (const auto& [neighbours, keptEnd] :
         std::vector<std::pair<std::vector<Neighbour>, std::size_t>>{
             {{{3, 60, {1, 0}}, {4, 70, infoArea(0xF0)}}, 576},
             {{{3, 60, {1, 0}}}, 640},
             {{{3, 60, {1, 255}}}, 640},
             {{{5, 60, brokenList}}, 640},
             {{{5, 60, Bytes(16)}, {2, 62, infoArea(0xC0)}}, 512},
             {{{5, 60, {0xC0, 0x82, 200, 0, 0xF6}}}, 640}}) {
        const Bytes old = imageWith(neighbours, recordWithMac(7), 0, 0xEE);
        const std::string path = folder_.Write("a.fru", {old.begin(), old.end()});
        Bytes expected = imageWith(neighbours, recordWithMac(8));
        expected.resize(480);
        ASSERT_EQ(Write(expected, path), krcp::SUCCESS);
        test::put(expected = test::joined({expected, Bytes(160)}), 480,
                  {old.begin() + 480, old.begin() + static_cast<std::ptrdiff_t>(keptEnd)});
        EXPECT_EQ(test::contentOf(path), std::string(expected.begin(), expected.end()));
    }
    // A common header with a wrong checksum gives no bytes to an area.
    Bytes old = imageWith({{3, 60, infoArea(0xB0)}}, recordWithMac(7));
    ++old[7];
    const std::string path = folder_.Write("a.fru", {old.begin(), old.end()});
    old.resize(recordSize);
    old.resize(640);
    EXPECT_EQ(Write(old, path), krcp::SUCCESS);
    EXPECT_EQ(test::contentOf(path), std::string(old.begin(), old.end()));
}

}  // namespace
}  // namespace em_pni::host_test
