#include "bench/system_calls.h"

#include <csignal>
#include <cstdlib>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace em_pni::bench {
namespace {

constexpr int systemCallStop = SIGTRAP | 0x80;  // with PTRACE_O_TRACESYSGOOD

// Runs the child to its end and counts its stops: two for each system call.
std::optional<long> countStops(pid_t child) {
    long stops = 0;
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFSTOPPED(status) ||
        ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) !=
            0) {
        return std::nullopt;
    }
    do {
        stops += WSTOPSIG(status) == systemCallStop ? 1 : 0;
        if (::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0 ||
            ::waitpid(child, &status, 0) != child) {
            return std::nullopt;
        }
    } while (WIFSTOPPED(status));
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? std::optional(stops) : std::nullopt;
}

std::optional<long> stopsOf(const std::function<void()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            ::_exit(1);
        }
        ::raise(SIGSTOP);
        body();
        ::_exit(0);
    }
    if (child < 0) {
        return std::nullopt;
    }
    const auto stops = countStops(child);
    if (!stops) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    return stops;
}

}  // namespace

std::optional<long> countSystemCalls(const std::function<void()>& body) {
    const auto around = stopsOf([] {});
    const auto all = stopsOf(body);
    return around && all ? std::optional((*all - *around) / 2) : std::nullopt;
}

}  // namespace em_pni::bench
