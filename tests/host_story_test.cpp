// The record of a server from the start with a stale record to the shutdown: the shipped program
// and module on a made-up server.
#include <algorithm>
#include <gtest/gtest.h>

#include "tests/host_program.h"
#include "tests/made_up_server.h"
#include "tests/record_builder.h"

namespace em_pni::host_test {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::sampleMac;
using test::textBytes;

Bytes replaced(Bytes bytes, const Bytes& old, const Bytes& now) {
    for (auto at = bytes.begin();
         (at = std::search(at, bytes.end(), old.begin(), old.end())) != bytes.end();) {
        at = std::copy(now.begin(), now.end(), at);
    }
    return bytes;
}

Bytes part(const Bytes& bytes, std::ptrdiff_t begin, std::ptrdiff_t end) {
    return {bytes.begin() + begin, bytes.begin() + end};
}

// The module of a two-port card of the made-up server in this slot; docs/record.md has the layout.
Bytes card(std::uint8_t slot) {
    std::vector<Bytes> ports;
    for (std::uint8_t number = 1; number <= 2; ++number) {
        const auto function = static_cast<std::uint8_t>(number - 1);
        const Bytes mac = sampleMac(slot, number);
        Bytes bytes =
            test::function(0, true, 0, test::joined({mac, mac, textBytes("N/A"), Bytes(31)}));
        test::put(bytes, 4, textBytes("Unknown"));
        test::put(bytes, 15, {1, 0x80});  // 1 x 10 Gbit/s
        test::put(bytes, 22, {0x72, 0x15, 0x86, 0x80, function, slot, 0, 0, 1, 0, 0xD9, 0x15});
        ports.push_back(test::port(function, number == 2, {bytes}));
    }
    Bytes module = test::module(slot, false, 3, ports);
    test::put(module, 3, textBytes("LAN PCI Card"));
    return module;
}

// Puts a board area and a list of one multi-record behind the record.
Bytes withNeighbours(Bytes image) {
    test::put(image, 3, {224, 0, 240});
    test::put(image, 1792, test::joined({{1, 8}, Bytes(62, 0xB0)}));
    test::put(image, 1920, test::joined({{0xC0, 0x82, 20, 0, 0xAA}, Bytes(20, 0x77)}));
    test::fixChecksums(image);
    return image;
}

// An image of 2048 bytes with these modules and other areas.
Bytes imageOf(std::vector<Bytes> modules) {
    for (Bytes& module : modules) {
        module[0] &= 0x7FU;
    }
    modules.back()[0] |= 0x80U;
    Bytes image = test::recordImage(11, modules);
    image.resize(2048);
    return withNeighbours(image);
}

class HostStory : public testing::Test {
  protected:
    void SetUp() override {
        if (!server_.Reason().empty()) {
            GTEST_SKIP() << server_.Reason();
        }
    }
    static bool Ip(const std::string& lines) { return test::CNetworkNamespace::Ip(lines); }
    void Begin(const Bytes& image) {
        file_ = folder_.Write("a.fru", {image.begin(), image.end()});
        program_ = std::make_unique<CProgram>(
            std::vector<std::string>{"run", "--fru", file_, "--write-interval", "0"},
            std::vector<std::string>{"QL_LOG_DEBUG_LEVEL=3", "QL_LOG_FILE_DIR=" + folder_.Path()});
    }
    // True when the image soon equals this and the program prints this line.
    [[nodiscard]] bool Becomes(const Bytes& image, const std::string& line) {
        const std::string bytes(image.begin(), image.end());
        return test::isTrueWithin(30s, [&] { return test::contentOf(file_) == bytes; }) &&
               program_->ReadUntil(line);
    }
    void Send(const std::string& event) {
        CProgram sender({"event", event, file_});
        EXPECT_EQ(sender.Wait(), 0) << sender.Errors();
    }
    void End() {
        program_->Signal(SIGTERM);
        EXPECT_EQ(program_->Wait(), 0) << program_->Errors();
        EXPECT_EQ(program_->Errors(), "");
    }
    // The number of cycles that ended without a write.
    [[nodiscard]] int IdleCycles() const {
        return countOf("PNI FRU record not modified", test::contentOf(folder_.File("log.EM_PNI")));
    }

    test::CMadeUpServer server_;
    test::CTempDirectory folder_;
    std::string file_;
    std::unique_ptr<CProgram> program_;
    const Bytes true_ = withNeighbours(test::sample("three-modules-in-2k-device.fru"));
    const Bytes onboard_ = part(true_, 26, 254);
    const Bytes slot3_ = part(true_, 254, 498);
    const Bytes fibre_ = part(true_, 498, 826);
};

TEST_F(HostStory, FromAStaleRecordToTheShutdown) {
    Bytes stale = replaced(true_, sampleMac(3, 1), {2, 0, 0, 0, 9, 9});
    stale = replaced(stale, textBytes("100000109B000002"), textBytes("10000000C9ABCDEF"));
    stale = replaced(stale, {192, 0, 2, 10}, {203, 0, 113, 5});
    test::fixChecksums(stale);
    Begin(stale);
    ASSERT_TRUE(Becomes(true_,
                        "changed: module 4 port 1 function 0 (slot 4, 0000:04:00.1) ActiveWWPN: "
                        "10:00:00:00:C9:AB:CD:EF -> "
                        "10:00:00:10:9B:00:00:02"));

    ASSERT_TRUE(Ip("addr del 192.0.2.10/24 dev eno0\naddr add 192.0.2.11/24 dev eno0"));
    const Bytes moved = replaced(onboard_, {192, 0, 2, 10}, {192, 0, 2, 11});
    ASSERT_TRUE(Becomes(imageOf({moved, slot3_, fibre_}),
                        "added: module 0 port 0 function 0 (onboard, eno0, "));

    server_.Plug({5, 6, 7});
    server_.Report({5, 6, 7}, {"add", "change", "bind"});
    ASSERT_TRUE(Becomes(imageOf({moved, slot3_, fibre_, card(5), card(6), card(7)}),
                        "added: module 7 \"LAN PCI Card\" (slot"));
    ASSERT_TRUE(program_->ReadUntil("event: device changed ("));
    EXPECT_NE(program_->Output().find("event: device added (pci 0000:05:00.0, pci 0000:05:00.1, "
                                      "pci 0000:06:00.0, pci 0000:06:00.1 and 2 more)\n"),
              std::string::npos);
    server_.Pull({3});
    server_.Report({3}, {"unbind", "remove"});
    ASSERT_TRUE(Becomes(imageOf({moved, fibre_, card(5), card(6), card(7)}),
                        "removed: module 3 \"LAN PCI Card\" (slot"));
    server_.Pull({5, 6, 7});
    Send("removed");
    const Bytes last = imageOf({moved, fibre_});
    ASSERT_TRUE(Becomes(last, "removed: module 7 \"LAN PCI Card\" (slot"));

    Send("shutdown");
    ASSERT_TRUE(program_->ReadUntil("event: shutdown announced (pni-host event)\n"));
    ASSERT_TRUE(Ip("addr del 192.0.2.11/24 dev eno0"));
    server_.Plug({6});
    const int cycles = IdleCycles();
    server_.Report({6}, {"add"});
    ASSERT_TRUE(program_->ReadUntil("event: device added (pci 0000:06:00.0, pci 0000:06:00.1)\n"));
    EXPECT_TRUE(test::isTrueWithin(30s, [&] { return IdleCycles() > cycles; }));
    End();
    ASSERT_TRUE(Becomes(last, "stopped"));
    // A cycle during the pull of the card can remove its addresses before its module.
    const int writes = countOf("written: 2048 bytes\n", program_->Output());
    EXPECT_TRUE(writes == 5 || writes == 6) << program_->Output();
}

TEST_F(HostStory, CardsThatChangedWithoutPowerAreEnteredAtTheStart) {
    const Bytes with = imageOf({onboard_, slot3_, fibre_, card(6)});
    const test::CTempDirectory folder;
    const std::string file = folder.Write("a.fru", {with.begin(), with.end()});
    EXPECT_EQ(CProgram({"diff", file, "--no-cards"}).Wait(), 0);
    for (const Bytes& expected : {true_, with}) {
        EXPECT_EQ(CProgram({"diff", file}).Wait(), 1);
        CProgram run({"run", "--fru", file, "--once", "--cards"});
        EXPECT_EQ(run.Wait(), 0) << run.Errors();
        EXPECT_TRUE(test::contentOf(file) == std::string(expected.begin(), expected.end()))
            << run.Output();
        EXPECT_EQ(CProgram({"diff", file}).Wait(), 0);
        if (expected == true_) {
            server_.Plug({6});
        }
    }
}

TEST_F(HostStory, ANewRecordIsWhatAFirstCycleMakes) {
    // A second interface has the MAC address of the card, as a VLAN on it has.
    std::string lines =
        "link add vlan address 02:00:00:00:03:01 type veth peer name other\n"
        "link set vlan up\nlink set other up\n"
        "addr add 203.0.113.1/24 dev vlan\n"
        "link add bond address 02:00:00:00:01:02 type veth peer name another\n"
        "link set bond up\nlink set another up\n"
        "addr add 203.0.113.2/24 dev bond\n";
    for (const char* const last : {"9", "8", "5", "6"}) {
        lines += std::string("addr add 198.51.100.") + last + "/24 dev ens3f0\n" +
                 "addr add 2001:db8::" + last + "/64 dev ens3f0 nodad\n";
    }
    ASSERT_TRUE(Ip(lines + "addr add fe80::1/64 dev ens3f0 nodad\n"
                           "addr add 2001:db8::1/64 dev ens3f0 nodad preferred_lft 0\n"
                           "addr add 2001:db8::2/64 dev ens3f0 nodad valid_lft 900 "
                           "preferred_lft 900"));
    file_ = folder_.File("new.fru");
    CProgram create({"create", file_, "--format-version", "11"});
    ASSERT_EQ(create.Wait(), 0) << create.Errors();
    const std::string image = test::contentOf(file_);
    const auto has = [&image](const std::string& ip) { return image.find(ip) != image.npos; };
    EXPECT_TRUE(has("\xC6\x33\x64\5")) << "198.51.100.5, the lowest of the card";
    EXPECT_TRUE(has({"\x20\1\xD\xB8\0\0\0\0\0\0\0\0\0\0\0\5\x20\1", 18}));
    EXPECT_TRUE(has({"\xCB\0\x71\2", 4})) << "203.0.113.2: the card has no address of its own";
    EXPECT_FALSE(has({"\xCB\0\x71\1", 4}));
    CProgram run({"run", "--fru", file_, "--once"});
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
    EXPECT_NE(run.Output().find("\nunchanged\n"), std::string::npos) << run.Output();
    EXPECT_EQ(test::contentOf(file_), image);
}

}  // namespace
}  // namespace em_pni::host_test
