#include "devscan/command_runner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "platform/file.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds reapTime{500};  // time to wait for a killed process
constexpr std::chrono::milliseconds reapPause{2};

// Starts processes in their own process group. Standard output goes to a pipe, standard input and
// error are /dev/null. No other descriptor is inherited.
class CSpawnSetup {
  public:
    explicit CSpawnSetup(int output) {
        posix_spawn_file_actions_init(&actions_);
        // Output first: its descriptor can be 0, 1 or 2 when the host has closed these.
        error_ = posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        Note(posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        Note(posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0));
        Note(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
        posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        Note(posix_spawnattr_setsigmask(&attributes_, &none));
        Note(posix_spawnattr_setsigdefault(&attributes_, &all));
        Note(posix_spawnattr_setpgroup(&attributes_, 0));
        Note(posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP));
    }
    ~CSpawnSetup() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    CSpawnSetup(const CSpawnSetup&) = delete;
    CSpawnSetup& operator=(const CSpawnSetup&) = delete;

    // Returns 0 or an errno value.
    int Start(const std::vector<std::string>& command, pid_t& process) const {
        if (error_ != 0) {
            return error_;
        }
        std::string path = "PATH=/sbin:/bin:/usr/sbin:/usr/bin";
        std::string locale = "LC_ALL=C";
        std::array<char*, 3> environment{path.data(), locale.data(), nullptr};
        std::vector<std::string> words = command;
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        return posix_spawn(&process, arguments.front(), &actions_, &attributes_, arguments.data(),
                           environment.data());
    }

  private:
    void Note(int error) noexcept { error_ = error_ != 0 ? error_ : error; }

    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
    int error_ = 0;
};

// Returns 0 or an errno value. `reader` becomes the end of the pipe that gives the output.
int start(const std::vector<std::string>& command, CFileDescriptor& reader, pid_t& process) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    reader = CFileDescriptor(ends[0]);
    const CFileDescriptor writer(ends[1]);
    return CSpawnSetup(writer.Get()).Start(command, process);
}

bool waitReadable(int descriptor, Clock::time_point deadline) noexcept {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd wanted{descriptor, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(left.count()));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

// Appends to `output`. Its capacity must be at least `limit`, so that this function does not throw
// while the process runs. Returns true when the end of the output came in time.
bool readOutput(int descriptor, std::size_t limit, Clock::time_point deadline,
                std::string& output) {
    std::array<char, 16384> block{};
    while (waitReadable(descriptor, deadline)) {
        const ssize_t got = ::read(descriptor, block.data(), block.size());
        if (got == 0) {
            return true;
        }
        if (got < 0 && errno != EINTR) {
            break;
        }
        if (got > 0 && static_cast<std::size_t>(got) > limit - output.size()) {
            break;
        }
        output.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    return false;
}

enum class State { Running, Succeeded, Failed };

// Also reaps the process when it has ended.
State stateOf(pid_t process) noexcept {
    int status = 0;
    pid_t got = 0;
    do {
        got = ::waitpid(process, &status, WNOHANG);
    } while (got < 0 && errno == EINTR);
    if (got == 0) {
        return State::Running;
    }
    if (got < 0) {
        // The host reaps all children itself, so the exit status is lost. The output is complete.
        return State::Succeeded;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? State::Succeeded : State::Failed;
}

State waitForEnd(pid_t process, Clock::time_point deadline) {
    State state = stateOf(process);
    while (state == State::Running && Clock::now() < deadline) {
        std::this_thread::sleep_for(reapPause);
        state = stateOf(process);
    }
    return state;
}

// Does nothing when the process has been reaped, because its id may belong to another process.
void killGroup(pid_t process) noexcept {
    siginfo_t info{};
    if (::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
        ::kill(-process, SIGKILL);
    }
}

}  // namespace

CProcessRunner::~CProcessRunner() {
    ReapAbandoned();
}

std::optional<std::string> CProcessRunner::Run(const std::vector<std::string>& command) {
    ReapAbandoned();
    if (command.empty() || !command.front().starts_with('/')) {
        return std::nullopt;
    }
    std::string output;
    output.reserve(limits_.output);
    const auto deadline = Clock::now() + limits_.time;
    CFileDescriptor reader;
    pid_t process = -1;
    if (const int error = start(command, reader, process); error != 0) {
        PNI_TRACE(5, "\nCSystemAdapter      : %s not started (errno %d)", command.front().c_str(),
                  error);
        return std::nullopt;
    }
    const bool complete = readOutput(reader.Get(), limits_.output, deadline, output);
    const State state = complete ? waitForEnd(process, deadline) : State::Running;
    if (state == State::Running) {
        Abandon(process);
    }
    if (state != State::Succeeded) {
        PNI_TRACE(2, "\nCSystemAdapter      : WARNING! %s %s", command.front().c_str(),
                  state == State::Failed ? "failed" : "exceeded its limits and was killed");
        return std::nullopt;
    }
    output.shrink_to_fit();
    return output;
}

void CProcessRunner::Abandon(pid_t process) {
    killGroup(process);
    if (waitForEnd(process, Clock::now() + reapTime) == State::Running) {
        const CRecursiveLockGuard guard(lock_);
        abandoned_.push_back(process);
    }
}

void CProcessRunner::ReapAbandoned() noexcept {
    const CRecursiveLockGuard guard(lock_);
    std::erase_if(abandoned_, [](pid_t process) { return stateOf(process) != State::Running; });
}

}  // namespace em_pni
