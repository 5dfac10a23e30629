// Events for the module: from the kernel and from `pni-host event`.
#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "host/events/device_watch.h"
#include "host/events/event_socket.h"
#include "host/machine/fru_lock.h"
#include "host/output/host_error.h"
#include "tests/host_program.h"
#include "tests/network_namespace.h"

namespace em_pni::host_test {
namespace {

using Texts = std::vector<std::string>;
constexpr CIEventSource::Clock::time_point start{};
constexpr auto quiet = CEventBursts::quietTime;
constexpr auto longest = CEventBursts::longest;

TEST(HostDeviceEvent, OnlyAdaptersCount) {
    const std::string card = "/devices/pci0000:00/0000:00:01.0";
    for (const auto& [subsystem, action, path, expected] :
         std::vector<std::tuple<std::string, std::string, std::string, std::string>>{
             {"pci", "add", card, "added"},
             {"pci", "remove", card, "removed"},
             {"pci", "bind", card, "changed"},
             {"pci", "explode", card, ""},
             {"net", "add", card + "/net/e1", "added"},
             {"net", "online", card + "/net/e1", ""},
             {"net", "remove", "/devices/virtual/net/br0", ""},
             {"block", "add", card + "/block/sda", ""}}) {
        const auto event = deviceEventOf(subsystem, action, path);
        EXPECT_EQ(event ? wordOf(*event) : "", expected) << subsystem << " " << action;
    }
}

// The reports of the source as texts.
Texts reportsAt(CIEventSource::Clock::time_point now, auto& source, auto take) {
    Texts texts;
    while (const auto report = (source.*take)(now)) {
        texts.push_back(textOf(report->event) + ": " + report->origin);
    }
    return texts;
}

TEST(HostEventBursts, EachKindIsOneEventAtTheEnd) {
    CEventBursts bursts;
    bursts.Note(HostEvent::deviceRemoved, "a", start);
    bursts.Note(HostEvent::deviceAdded, "", start + quiet / 2);
    for (const char* const name : {"b", "b", "c", "d", "e", "f"}) {
        bursts.Note(HostEvent::deviceRemoved, name, start + quiet);
    }
    const auto takeDue = &CEventBursts::TakeDue;
    EXPECT_EQ(bursts.DueAt(), start + 2 * quiet);
    EXPECT_EQ(reportsAt(*bursts.DueAt() - std::chrono::nanoseconds(1), bursts, takeDue), Texts());
    EXPECT_EQ(reportsAt(*bursts.DueAt(), bursts, takeDue),
              (Texts{"device removed: a, b, c, d and 2 more", "device added: "}));
    EXPECT_FALSE(bursts.DueAt());
    for (auto now = start; now < start + longest; now += quiet / 2) {
        bursts.Note(HostEvent::deviceRemoved, "g", now);
    }
    EXPECT_EQ(bursts.DueAt(), start + longest) << "a burst without end is reported";
    EXPECT_EQ(reportsAt(start + longest, bursts, takeDue), Texts{"device removed: g"});
}

bool send(const std::string& action, const std::string& subsystem, const std::string& name) {
    return test::CNetworkNamespace::Send(action, subsystem, "pci0000:00/" + name);
}

TEST(HostDeviceWatch, ReportsTheKernelsEventsAlsoAfterAnOverrun) {
    const test::CNetworkNamespace network;
    if (!network.Reason().empty() || !send("add", "pci", "0000:00:01.0")) {
        GTEST_SKIP() << network.Reason() << " or the kernel sends no events for programs";
    }
    CDeviceWatch watch;
    const auto nextReport = &CIEventSource::NextReport;
    ASSERT_TRUE(test::CNetworkNamespace::Ip("link set v0 name v2\nlink del v2"));
    ASSERT_TRUE(send("explode", "pci", "0000:00:01.0"));
    watch.Take(start);  // stops at the message that libudev refuses
    ASSERT_TRUE(send("add", "usb", "1-1") && send("unbind", "pci", "0000:00:01.0") &&
                send("remove", "net", "0000:00:01.0/net/e1"));
    watch.Take(start);
    EXPECT_EQ(reportsAt(start + quiet, watch, nextReport),
              (Texts{"device removed: net e1", "device changed: pci 0000:00:01.0"}));

    const int little = 1;
    ::setsockopt(watch.Descriptor(), SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(send("change", "pci", "0000:00:01.0"));
    }
    watch.Take(start);
    EXPECT_EQ(reportsAt(start + quiet, watch, nextReport),
              (Texts{"device removed: events lost", "device changed: pci 0000:00:01.0",
                     "device added: events lost"}));
}

TEST(HostEventCommand, ReachesTheModuleThroughALinkAndAnyPath) {
    const test::CTempDirectory folder;
    const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'e') + "/";
    const std::string image = folder.Write(deep + std::string(200, 'f'), "A");
    const std::string link = folder.File("link.fru");
    std::filesystem::create_symlink(image, link);
    EXPECT_EQ(CProgram({"event", "added", image}).Wait(), 2);
    CProgram run = scripted({"run", "--fru", image, "--no-watch"});
    ASSERT_TRUE(run.ReadUntil("FirstByte: 65 -> 66\n")) << run.Errors();
    for (const auto& [word, line, change] :
         std::vector<std::array<std::string, 3>>{{"added", "device added", "66 -> 76"},
                                                 {"changed", "device changed", "76 -> 96"},
                                                 {"removed", "device removed", "96 -> 126"},
                                                 {"address", "IP address changed", "126 -> 127"}}) {
        EXPECT_EQ(CProgram({"event", word, link}).Wait(), 0) << word;
        EXPECT_TRUE(run.ReadUntil("event: " + line + " (pni-host event)\nwritten: 1 bytes\n" +
                                  "  changed: module 0 FirstByte: " + change + "\n"));
    }
    for (const Texts& arguments :
         {Texts{"run", "--fru", link}, Texts{"run", "--fru", link, "--once"},
          Texts{"create", link, "--force"}, Texts{"restore", "--force", image, link}}) {
        CProgram other(arguments);
        EXPECT_EQ(other.Wait(), 2);
        EXPECT_EQ(other.Errors(), "pni-host: " + link + ": another pni-host run is using it\n");
    }
    EXPECT_EQ(test::contentOf(image), "\x7F");
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
    EXPECT_FALSE(std::filesystem::exists(image + ".events"));
}

TEST(HostEventSocket, OneOfManyReplacesAKilledHost) {
    const test::CTempDirectory folder;
    const std::string image = folder.Write("a.fru", "A");
    CProgram killed = scripted({"run", "--fru", image});
    ASSERT_TRUE(killed.ReadUntil("started: "));
    killed.Signal(SIGKILL);
    killed.Wait();
    ASSERT_TRUE(std::filesystem::is_socket(image + ".events"));
    EXPECT_EQ(CProgram({"event", "added", image}).Wait(), 2);
    // The lock of a reader of the folder does not matter.
    const CFileDescriptor reader(::open(folder.Path().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(reader.Get(), LOCK_EX | LOCK_NB), 0);
    std::array<std::unique_ptr<CProgram>, 6> programs;
    for (auto& program : programs) {
        program = std::make_unique<CProgram>(Texts{"run", "--fru", image});
    }
    EXPECT_EQ(std::count_if(programs.begin(), programs.end(),
                            [](const auto& program) { return program->ReadUntil("started: "); }),
              1);
}

TEST(HostImageLock, IsForOneProgramOfItsOwner) {
    const test::CTempDirectory folder;
    const CFruPlace image({.path = folder.Write("a.fru", "A")}, CFruPlace::Use::write);
    const std::string path = folder.File("a.fru.lock");
    {
        const CFruLock lock(image);
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
        EXPECT_THROW(CFruLock{image}, CHostError);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    folder.Write("a.fru.lock", "");
    EXPECT_THROW(CFruLock{image}, CHostError) << "other users can hold the lock of this file";
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(HostEventSocket, IsForItsOwner) {
    const test::CTempDirectory folder;
    const CFruPlace image({.path = folder.Write("a.fru", "A")}, CFruPlace::Use::write);
    const std::string path = folder.File("a.fru.events");
    std::ostringstream errors;
    CConsole console(errors, errors);
    folder.Write("a.fru.events", "a user's file");
    EXPECT_THROW(CEventSocket(image, console), CHostError);
    EXPECT_THROW(deliverEvent(image, HostEvent::deviceAdded), CHostError);
    EXPECT_EQ(test::contentOf(path), "a user's file");
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_THROW(CEventSocket(image, console), CHostError);
    EXPECT_THROW(deliverEvent(image, HostEvent::deviceAdded), CHostError);
    std::filesystem::remove(path);

    const mode_t mask = ::umask(0);
    CEventSocket socket(image, console);
    ::umask(mask);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path.c_str(), 12, 34), 0);
        EXPECT_THROW(deliverEvent(image, HostEvent::deviceAdded), CHostError);
        EXPECT_THROW(CEventSocket(image, console), CHostError);
        ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
    }
    EXPECT_TRUE(deliverEvent(image, HostEvent::deviceRemoved));
    socket.Take(start);
    EXPECT_EQ(reportsAt(start, socket, &CIEventSource::NextReport),
              Texts{"device removed: pni-host event"});
}

}  // namespace
}  // namespace em_pni::host_test
