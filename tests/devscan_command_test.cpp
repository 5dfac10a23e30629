#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "devscan/command_runner.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni {
namespace {

using std::chrono::milliseconds;

std::optional<std::string> run(const std::string& script,
                               const CommandLimits& limits = {milliseconds(5000), 100000}) {
    return CProcessRunner(limits).Run({"/bin/sh", "-c", script});
}

TEST(DevscanCommand, OutputOfSuccessOnly) {
    EXPECT_EQ(run("echo one; echo two >&2"), "one\n");
    EXPECT_EQ(run("head -c 100000 /dev/zero"), std::string(100000, '\0'));
    EXPECT_FALSE(run("echo half; exit 3"));
    EXPECT_FALSE(run("echo half; kill -9 $$"));
    EXPECT_FALSE(CProcessRunner().Run({"/nowhere/lspci"}));
    EXPECT_FALSE(CProcessRunner().Run({"sh", "-c", "echo by search path"}));
    std::signal(SIGCHLD, SIG_IGN);  // a host that reaps all children
    EXPECT_EQ(run("echo one"), "one\n");
    std::signal(SIGCHLD, SIG_DFL);
}

TEST(DevscanCommand, ChildInheritsNothing) {
    const int leaked = ::dup(STDERR_FILENO);  // without close-on-exec
    EXPECT_EQ(run("cat; echo /proc/self/fd/*"), run("echo /proc/self/fd/0 /proc/self/fd/1 "
                                                    "/proc/self/fd/2 /proc/self/fd/3"));
    EXPECT_EQ(run("readlink /proc/self/fd/0 /proc/self/fd/2"), "/dev/null\n/dev/null\n");
    ::close(leaked);
}

TEST(DevscanCommand, LimitsKillTheWholeGroup) {
    const auto start = std::chrono::steady_clock::now();
    // Commands that hang, leave a child with the output open, or close the output and hang.
    EXPECT_FALSE(run("echo half; sleep 60; true", {milliseconds(150), 1000}));
    const test::CTempDirectory place;
    const std::string mark = place.File("mark");
    EXPECT_FALSE(run("(sleep 0.6; touch " + mark + ") & echo half", {milliseconds(150), 1000}));
    EXPECT_FALSE(run("exec >&-; sleep 60", {milliseconds(150), 1000}));
    EXPECT_FALSE(run("yes flood", {milliseconds(60000), 5000}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(20000));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    std::this_thread::sleep_until(start + milliseconds(1200));
    EXPECT_FALSE(std::filesystem::exists(mark));
}

}  // namespace
}  // namespace em_pni
