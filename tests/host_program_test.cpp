// pni-host as a whole, with a module that changes the record and with the real one.
#include "tests/host_program.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "em_pni/krcp_message.h"

namespace em_pni::host_test {
namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

CProgram scripted(std::vector<std::string> arguments, std::vector<std::string> environment = {}) {
    arguments.insert(arguments.end(), {"--module", EM_PNI_BINARY_DIR "/host_scripted_module.so"});
    return CProgram(std::move(arguments), std::move(environment));
}

TEST(HostRun, OnceTellsWhatItWroteAndWhatChanged) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A rest");
    CProgram program = scripted({"run", "--fru", image, "--once"});
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_TRUE(
        program.Output().ends_with("read: 6 bytes\nwritten: 6 bytes\n"
                                   "changed: module 0 FirstByte: 65 -> 66\n"
                                   "added: module 0 Period 4294967295\nstopped\n"))
        << program.Output();
    EXPECT_EQ(test::contentOf(image), "B rest");
}

TEST(HostRun, RunsUntilTheSignalAndLeavesNothingBehind) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const test::CTempDirectory folder;
        const std::filesystem::directory_iterator end;
        CProgram program = scripted({"run", "--fru", folder.Write("a.fru", "A"), "--cycle", "1234"},
                                    {"TMPDIR=" + folder.Path()});
        ASSERT_TRUE(program.ReadUntil("added: module 0 Period 1234\n")) << program.Errors();
        program.Signal(signal);
        EXPECT_EQ(program.Wait(), 0) << program.Errors();
        EXPECT_TRUE(program.Output().ends_with("\nstopped\n")) << program.Output();
        EXPECT_EQ(++std::filesystem::directory_iterator(folder.Path()), end);
    }
}

TEST(HostRun, AWriteThatFailedIsTheExitCode) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "X");
    CProgram program = scripted({"run", "--fru", image, "--once"});
    EXPECT_EQ(program.Wait(), 1);
    EXPECT_TRUE(program.Output().ends_with("unchanged\nstopped\n")) << program.Output();
    EXPECT_TRUE(contains(program.Errors(), "a.fru: the record to write")) << program.Errors();
    EXPECT_EQ(test::contentOf(image), "X");
}

TEST(HostQuery, ChangesNothingWhateverTheModuleWrites) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A");
    CProgram program = scripted({"query", image});
    EXPECT_EQ(program.Wait(), 0);
    EXPECT_TRUE(contains(program.Output(), "\"FirstByte\": 65\n")) << program.Output();
    EXPECT_EQ(test::contentOf(image), "A");
}

// The real module, which is found beside the program.

std::string sample(const std::string& name) {
    return test::contentOf(std::string(EM_PNI_TEST_DATA) + "/" + name);
}

TEST(HostEndToEnd, QueryShowsTheRecordAsJsonAndAsTree) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", sample("three-modules.fru"));
    CProgram whole({"query", image});
    EXPECT_EQ(whole.Wait(), 0) << whole.Errors();
    rapidjson::Document document;
    document.Parse(whole.Output().c_str());
    ASSERT_TRUE(document.IsObject()) << whole.Output();
    const rapidjson::Value* const modules = krcp::findMember(document, "Modules");
    ASSERT_TRUE(modules != nullptr && modules->IsArray());
    EXPECT_EQ(modules->Size(), 3U);

    CProgram tree({"query", "--fields", "ActiveWWPN,ActiveMAC", image, "--tree"});
    EXPECT_EQ(tree.Wait(), 0) << tree.Errors();
    for (const char* const text :
         {"├─ module 0\n", "├─ module 3\n", "└─ module 4\n", "function 0: MAC 02-00-00-00-03-01\n",
          "function 0: WWPN 10:00:00:10:9B:00:00:02\n"}) {
        EXPECT_TRUE(contains(tree.Output(), text)) << text << tree.Output();
    }

    CProgram filtered({"query", image, "--technology", "fc", "--tree"});
    EXPECT_EQ(filtered.Wait(), 0) << filtered.Errors();
    EXPECT_TRUE(contains(filtered.Output(), "a.fru: 1 module\n└─ module 4: "));
}

TEST(HostEndToEnd, ARefusalIsToldByTheNameOfItsStatus) {
    const test::CTempDirectory folder;
    const std::string good = folder.Write("good.fru", sample("onboard-only.fru"));
    const std::string bad = folder.Write("bad.fru", sample("bad-record-checksum.fru"));
    const std::vector<std::pair<std::vector<std::string>, std::string>> refusals{
        {{"query", bad}, "CHECKSUM_ERROR"},
        {{"query", bad, "--tree"}, "CHECKSUM_ERROR"},
        {{"query", good, "--technology", "none"}, "INVALID_CMD"},
        {{"query", good, "--fields", "Speed,Sped"}, "INVALID_CMD"},
        {{"run", "--once", "--fru", bad}, "CHECKSUM_ERROR"},
    };
    for (const auto& [arguments, status] : refusals) {
        CProgram program(arguments);
        EXPECT_EQ(program.Wait(), 1) << testing::PrintToString(arguments);
        EXPECT_TRUE(contains(program.Errors(), status)) << program.Errors();
        EXPECT_FALSE(contains(program.Output(), "Modules"));
        EXPECT_FALSE(contains(program.Output(), "unchanged"));
    }
}

TEST(HostEndToEnd, ARecordThatIsTrueIsNotWritten) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", sample("three-modules-in-2k-device.fru"));
    EXPECT_EQ(CProgram({"run", "--fru", image, "--once"}).Wait(), 0);  // now it is
    const std::string content = test::contentOf(image);
    struct stat before {};
    ASSERT_EQ(::stat(image.c_str(), &before), 0);
    CProgram once({"run", "--fru", image, "--once"});
    EXPECT_EQ(once.Wait(), 0) << once.Errors();
    EXPECT_TRUE(once.Output().ends_with("unchanged\nstopped\n")) << once.Output();
    for (const int signal : {SIGTERM, SIGINT}) {
        CProgram program({"run", "--fru", image, "--cycle", "1"});
        ASSERT_TRUE(program.ReadUntil("read: 2048 bytes\nread: 2048 bytes\n"));
        program.Signal(signal);
        EXPECT_EQ(program.Wait(), 0) << program.Errors();
        EXPECT_TRUE(program.Output().ends_with("bytes\nstopped\n")) << program.Output();
    }
    struct stat after {};
    ASSERT_EQ(::stat(image.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(test::contentOf(image), content);
}

}  // namespace
}  // namespace em_pni::host_test
