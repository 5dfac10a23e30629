// The path of an address: from the kernel through pni-host and the module to the image file.
#include <gtest/gtest.h>

#include "frudata/pni_fru.h"
#include "tests/host_program.h"
#include "tests/network_namespace.h"
#include "tests/record_builder.h"

namespace em_pni::host_test {
namespace {

using namespace std::chrono_literals;
using test::contentOf;

class HostFollow : public testing::Test {
  protected:
    void SetUp() override {
        if (!namespace_.Reason().empty()) {
            GTEST_SKIP() << namespace_.Reason();
        }
        test::CNetworkNamespace::Set("v0", "accept_dad", 0);
        test::CNetworkNamespace::Set("v0", "addr_gen_mode", 1);  // no link-local address
        ASSERT_TRUE(Ip("link set v1 up\nlink set v0 address 02:00:00:00:03:01 up"));
        image_ = folder_.Write(
            "a.fru", contentOf(std::string(EM_PNI_TEST_DATA) + "/three-modules-in-2k-device.fru"));
    }
    static bool Ip(const std::string& lines) { return test::CNetworkNamespace::Ip(lines); }
    [[nodiscard]] bool IsValid() const {
        const std::string bytes = contentOf(image_);
        return pniValidateFru(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) ==
               PNI_SUCCESS;
    }
    // True when the image gets these bytes within the limit.
    [[nodiscard]] bool Gains(const std::string& bytes,
                             std::chrono::milliseconds limit = 20s) const {
        return test::isTrueWithin(
            limit, [&] { return contentOf(image_).find(bytes) != std::string::npos; });
    }

    test::CNetworkNamespace namespace_;
    test::CTempDirectory folder_;
    std::string image_;
    const std::string ipv4_{"\xC0\x00\x02\x4D", 4};  // 192.0.2.77
    const std::string ipv6_{"\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x4D", 16};
};

TEST_F(HostFollow, ABurstOfChangesIsOneEventAlsoWithoutTheLogFolder) {
    const std::string log = folder_.Write("log/log.EM_PNI", "");
    CProgram program({"run", "--fru", image_, "--write-interval", "0"},
                     {"QL_LOG_DEBUG_LEVEL=5", "QL_LOG_FILE_DIR=" + folder_.File("log")});
    ASSERT_TRUE(program.ReadUntil("\n  removed: ")) << program.Errors();
    std::filesystem::rename(folder_.File("log"), folder_.File("away"));
    ASSERT_TRUE(
        Ip("addr add 192.0.2.78/32 dev v0\naddr add 192.0.2.77/24 dev v0\n"
           "addr del 192.0.2.78/32 dev v0\naddr add 2001:db8::4d/64 dev v0"));
    EXPECT_TRUE(Gains(ipv4_) && Gains(ipv6_));
    std::filesystem::rename(folder_.File("away"), folder_.File("log"));
    std::this_thread::sleep_for(700ms);  // longer than a burst
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_TRUE(IsValid());
    EXPECT_TRUE(contentOf(log).ends_with("## TRACE-END ##\n"));
    EXPECT_LE(countOf("event: IP address changed\n", program.Output()), 2) << program.Output();
}

TEST_F(HostFollow, AfterAWriteAddressesWaitAndDevicesDoNot) {
    CProgram program({"run", "--fru", image_, "--write-interval", "6000"});
    ASSERT_TRUE(program.ReadUntil("\n  removed: ")) << program.Errors();
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(Ip("addr add 192.0.2.77/24 dev v0"));
        std::this_thread::sleep_for(150ms);  // longer than the quiet end of a burst
        ASSERT_TRUE(i == 3 || Ip("addr del 192.0.2.77/24 dev v0"));
    }
    EXPECT_FALSE(Gains(ipv4_, 500ms));
    EXPECT_TRUE(Gains(ipv4_, 20s)) << "the last state is written";
    ASSERT_TRUE(program.ReadUntil("\n  added: "));
    ASSERT_TRUE(Ip("addr add 2001:db8::4d/64 dev v0"));
    std::this_thread::sleep_for(300ms);
    ASSERT_TRUE(test::CNetworkNamespace::Send("change", "pci", "pci0000:00/0000:00:01.0"));
    EXPECT_TRUE(Gains(ipv6_, 4s));
    ASSERT_TRUE(Ip("addr del 2001:db8::4d/64 dev v0"));
    std::this_thread::sleep_for(300ms);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_EQ(countOf("written: ", program.Output()), 3) << program.Output();
    EXPECT_EQ(countOf("event: IP address changed\n", program.Output()), 1) << program.Output();
    EXPECT_TRUE(Gains(ipv6_)) << "nothing is written after a signal";
}

TEST_F(HostFollow, DoesNotListenWithoutWatch) {
    CProgram program({"run", "--fru", image_, "--no-watch"});
    ASSERT_TRUE(program.ReadUntil("\n  removed: ")) << program.Errors();
    ASSERT_TRUE(Ip("addr add 192.0.2.77/24 dev v0"));
    EXPECT_FALSE(Gains(ipv4_, 1s));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_EQ(program.Output().find("event: "), std::string::npos) << program.Output();
}

TEST_F(HostFollow, AnEndAtAnyPointLeavesTheOldOrTheNewImage) {
    const auto runOnce = [this] {
        CProgram program({"run", "--fru", image_, "--once"});
        EXPECT_EQ(program.Wait(), 0) << program.Errors();
        return program.Output();
    };
    const auto change = [](bool add) {
        return Ip(std::string("addr ") + (add ? "add" : "del") + " 192.0.2.77/24 dev v0");
    };
    runOnce();
    const std::string without = contentOf(image_);
    ASSERT_TRUE(change(true));
    runOnce();
    const std::string with = contentOf(image_);
    ASSERT_NE(with, without);
    for (const int signal : {SIGTERM, SIGKILL}) {
        for (int milliseconds = 0; milliseconds < 40; ++milliseconds) {
            ASSERT_TRUE(change(milliseconds % 2 != 0));  // every run has something to write
            CProgram program(signal == SIGKILL
                                 ? std::vector<std::string>{"run", "--fru", image_, "--once"}
                                 : std::vector<std::string>{"run", "--fru", image_});
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            program.Signal(signal);
            const int code = program.Wait();
            const std::string image = contentOf(image_);
            ASSERT_TRUE(image == with || image == without) << signal << ": " << milliseconds;
            if (signal == SIGTERM) {  // before the program blocks the signal, or a normal end
                const std::filesystem::directory_iterator files(folder_.Path());
                ASSERT_TRUE(code == 128 + SIGTERM || code == 0) << milliseconds << ": " << code;
                ASSERT_EQ(std::distance(files, {}), 1) << milliseconds;
            }
        }
    }
    runOnce();
    EXPECT_EQ(contentOf(image_), with);
    EXPECT_TRUE(runOnce().ends_with("unchanged\nstopped\n"));
}

}  // namespace
}  // namespace em_pni::host_test
