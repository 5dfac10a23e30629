// The played controller: what good and broken messages do to the file.
#include <gtest/gtest.h>
#include <numeric>

#include "host/output/host_error.h"
#include "host/session/played_host.h"
#include "tests/temp_directory.h"

namespace em_pni::host_test {
namespace {

struct CListener final : CIFruListener {
    void OnRead(std::size_t) override {}
    void OnWritten(std::size_t) override {}
    void OnReadFailed(const std::string&) override {}
    void OnWriteFailed(const std::string&) override {}
};

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
        const CFruImage image(path);
        CFruController controller(image, listener_, CFruController::Access::readWrite);
        CPlayedHost(&controller, network_).SendRequest(nullptr, message, 1000);
        return krcp::status(message);
    }
    std::uint32_t Write(const std::vector<std::uint8_t>& bytes, const std::string& path) {
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
    std::vector<std::uint8_t> all_ = std::vector<std::uint8_t>(256);  // every byte value once
};

TEST_F(HostController, AWriteKeepsEveryByteAndTheSymbolicLink) {
    const std::string path = folder_.Write("a.fru", "old");
    const std::string link = folder_.File("link.fru");
    std::filesystem::create_symlink("a.fru", link);
    ASSERT_EQ(Write(all_, link), krcp::SUCCESS);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(test::contentOf(path), std::string(all_.begin(), all_.end()));
    CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
    EXPECT_EQ(Send(read, link), krcp::SUCCESS);
    std::vector<std::uint8_t> bytes;
    krcp::copyRawBytes(read, bytes);
    EXPECT_EQ(bytes, all_);
}

TEST_F(HostController, ABadRecordChangesNothing) {
    const std::string path = folder_.Write("a.fru", "old");
    for (const char* const data :
         {"", R"(,"DA":[1])", R"(,"DA":{"RAW":[]})", R"(,"DA":{"RAW":[1,256]})"}) {
        CKrcpMessage message =
            parse(std::string(R"({"SIP":{"CMD":[{"OC":3089,"OE":46)") + data + "}]}}");
        EXPECT_EQ(Send(message, path), krcp::INVALID_SET_VALUE) << data;
    }
    EXPECT_EQ(Write(std::vector<std::uint8_t>(CFruImage::maxSize + 1), path),
              krcp::SET_STRING_TOOLONG);
    EXPECT_EQ(test::contentOf(path), "old");
}

TEST_F(HostController, AFileThatIsNotAnImageIsRefused) {
    CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
    EXPECT_EQ(Send(read, folder_.Write("empty.fru", "")), krcp::EXEC_FAILED);
    EXPECT_EQ(Send(read, folder_.Write("large.fru", std::string(CFruImage::maxSize + 1, 'x'))),
              krcp::EXEC_FAILED);
    EXPECT_THROW(CFruImage(folder_.File("none.fru")), CHostError);
}

TEST_F(HostController, RefusesOrIgnoresOtherMessages) {
    const std::string path = folder_.Write("a.fru", "old");
    for (const char* const command :
         {R"({})", R"({"OC":3088})", R"({"OC":3089,"OE":45,"DA":{"RAW":[1]}})", R"({"OC":5889.0})",
          R"({"OC":"3088","OE":46})", R"({"OC":3088.5,"OE":46})", R"({"OC":[],"OE":{}})",
          R"({"OC":68624,"OE":46})"}) {
        CKrcpMessage message = parse(std::string(R"({"SIP":{"CMD":[)") + command + "]}}");
        EXPECT_EQ(Send(message, path), krcp::INVALID_CMD) << command;
    }
    for (const std::string json : {"null", "{}", R"({"SIP":7})", R"({"SIP":{"CMD":[null]}})"}) {
        CKrcpMessage message = parse(json);
        const CKrcpMessage copy = parse(json);
        Send(message, path);
        EXPECT_TRUE(message.document == copy.document) << json;
    }
    EXPECT_EQ(test::contentOf(path), "old");
}

}  // namespace
}  // namespace em_pni::host_test
