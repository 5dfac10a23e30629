// The program with a module that changes any record, and with the real module.
#include "tests/host_program.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>

#include "em_pni/krcp_message.h"

namespace em_pni::host_test {
namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(HostRun, OnceReportsWritesAndChangesAndQueryWritesNothing) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A rest");
    CProgram query = scripted({"query", image});
    EXPECT_EQ(query.Wait(), 0);
    EXPECT_TRUE(contains(query.Output(), "\"FirstByte\": 65\n")) << query.Output();
    EXPECT_EQ(test::contentOf(image), "A rest");
    CProgram program = scripted({"run", "--fru", image, "--once"});
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_TRUE(
        program.Output().ends_with("read: 6 bytes\nwritten: 6 bytes\n"
                                   "  changed: module 0 FirstByte: 65 -> 66\n"
                                   "  added: module 0 Period 4294967295\nstopped\n"))
        << program.Output();
    EXPECT_EQ(test::contentOf(image), "B rest");
}

TEST(HostRun, JsonHasAnObjectInEachLine) {
    const test::CTempDirectory folder;
    CProgram program =
        scripted({"run", "--fru", folder.Write("a.fru", "A"), "--once", "--json", "-q"});
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    std::istringstream lines(program.Output());
    std::string events;
    for (std::string line; std::getline(lines, line);) {
        rapidjson::Document report;
        ASSERT_FALSE(report.Parse(line.c_str()).HasParseError()) << line;
        EXPECT_EQ(krcp::findMember(report, "time")->GetStringLength(), 29U) << line;
        events.append(krcp::findMember(report, "event")->GetString()).append(" ");
        if (const rapidjson::Value* const changes = krcp::findMember(report, "changes")) {
            EXPECT_EQ((*changes)[0], rapidjson::Document().Parse(
                                         R"({"change":"changed","module":"0","member":"FirstByte",)"
                                         R"("before":"65","after":"66"})"));
        }
    }
    EXPECT_TRUE(events.ends_with("read written stopped ")) << events;
}

TEST(HostRun, ASignalIsAnnouncedAsAShutdownAndLeavesNothingBehind) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "AS");
    char first = 'A';
    folder.Write(".a.fru.0123ef", "of a killed run");
    folder.Write(".a.fru.journal.0123ef", "of a killed run");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        CProgram program = scripted({"run", "--fru", image, "--cycle", "1234"});
        ASSERT_TRUE(program.ReadUntil("added: module 0 Period 1234\n")) << program.Errors();
        program.Signal(signal);
        EXPECT_EQ(program.Wait(), 0) << program.Errors();
        EXPECT_EQ(test::contentOf(image)[0], ++first);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    }
    EXPECT_EQ(scripted({"run", "--fru", image, "--once"}).Wait(), 0);
    EXPECT_EQ(test::contentOf(image), "GS") << "--once announces no shutdown";
}

// The program ends in order when nobody reads its output, and when a signal meets a full pipe.
TEST(HostRun, EndsWithoutAReaderOfItsOutput) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A");
    for (const bool isFull : {true, false}) {
        CProgram program = scripted({"run", "--fru", image, "--no-watch"});
        ASSERT_TRUE(program.ReadUntil("added: module 0 Period"));
        isFull ? program.FillOutput() : program.CloseOutput();
        EXPECT_EQ(CProgram({"event", "address", image}).Wait(), 0);
        if (isFull) {
            program.Signal(SIGTERM);
        }
        EXPECT_EQ(program.WaitWithoutReading(), 2);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    }
}

TEST(HostRun, AWriteThatFailedIsTheExitCode) {
    const test::CTempDirectory folder;
    for (const auto& [content, error] : std::vector<std::pair<std::string, std::string>>{
             {"X", "not an array of bytes"},
             {"ABCD", "has 4 bytes, but the controller takes only 3"},
             {"ABC", ""}}) {
        const std::string image = folder.Write("a.fru", content);
        CProgram program = scripted({"run", "--fru", image, "--once", "--capacity", "3"});
        EXPECT_EQ(program.Wait(), error.empty() ? 0 : 1);
        EXPECT_TRUE(contains(program.Errors(), error)) << program.Errors();
        EXPECT_EQ(contains(program.Output(), "\nnot written: " + image + ": "), !error.empty());
        EXPECT_FALSE(contains(program.Output(), "\nunchanged\n")) << program.Output();
        EXPECT_EQ(test::contentOf(image), error.empty() ? "BBC" : content);
    }
}

// The module begins again with the new bytes, and gets the device event again.
TEST(HostRun, WritesNothingOverAChangeOfAnotherProgram) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A");
    CProgram program = scripted({"run", "--fru", image, "--no-watch"});
    ASSERT_TRUE(program.ReadUntil("added: module 0 Period"));
    folder.Write("a.fru", "a");
    EXPECT_EQ(CProgram({"event", "added", image}).Wait(), 0);
    EXPECT_TRUE(program.ReadUntil("restarted: another program has changed the FRU data"));
    EXPECT_TRUE(program.ReadUntil("-> 108")) << program.Output();
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_EQ(test::contentOf(image), "l");  // a + 1 + 10
}

TEST(HostRun, TellsSystemdHowItIsAndReloads) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("run/a.fru", "A");
    const CFileDescriptor manager(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder.File("notify").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(manager.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    std::string told;
    const auto isTold = [&](const std::string& text) {
        pollfd polled{manager.Get(), POLLIN, 0};
        while (!contains(told, text) && ::poll(&polled, 1, 20000) > 0) {
            char message[256];
            const ssize_t got = ::recv(manager.Get(), message, sizeof message, 0);
            told.append(message, static_cast<std::size_t>(std::max<ssize_t>(got, 0))) += '\n';
        }
        const bool result = contains(told, text);
        told.clear();
        return result;
    };
    CProgram program = scripted({"run", "--fru", image, "--no-watch"},
                                {"NOTIFY_SOCKET=" + folder.File("notify"), "WATCHDOG_USEC=100000"});
    EXPECT_TRUE(isTold("READY=1"));
    EXPECT_TRUE(isTold("STATUS=keeps the record up to date, 1 write"));
    EXPECT_TRUE(isTold("WATCHDOG=1"));
    program.Signal(SIGHUP);
    EXPECT_TRUE(isTold("RELOADING=1"));
    EXPECT_TRUE(isTold("READY=1"));
    ASSERT_TRUE(program.ReadUntil("FirstByte: 66 -> 67"));
    program.Signal(SIGTERM);
    EXPECT_TRUE(isTold("STOPPING=1"));
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
}

// For the real module, which is in the folder of the program.
std::string sample(const std::string& name) {
    return test::contentOf(std::string(EM_PNI_TEST_DATA) + "/" + name);
}

TEST(HostEndToEnd, QueryShowsATreeAndRestoreNeedsBytes) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", sample("three-modules.fru"));
    CProgram tree(
        {"query", "--fields", "ActiveWWPN,ActiveMAC", image, "--technology", "fc", "--tree"},
        {"LC_ALL=C.UTF-8"});
    EXPECT_EQ(tree.Wait(), 0) << tree.Errors();
    EXPECT_TRUE(contains(tree.Output(), "a.fru: 1 module\n└─ module 4\n")) << tree.Output();
    EXPECT_TRUE(contains(tree.Output(), "function 0: WWPN 10:00:00:10:9B:00:00:02\n"))
        << tree.Output();
    CProgram nothing({"restore", "--force", "-", image});
    EXPECT_EQ(nothing.Wait(), 2);
    EXPECT_TRUE(contains(nothing.Errors(), "standard input: there are no bytes"))
        << nothing.Errors();
}

}  // namespace
}  // namespace em_pni::host_test
