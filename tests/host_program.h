// Runs the built program as a user does. The lines of `run` have no time. `run` does not
// compare cards unless the test says so: the sample records are of other machines.
#pragma once

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/file.h"
#include "tests/temp_directory.h"

namespace em_pni::host_test {

class CProgram {
  public:
    explicit CProgram(std::vector<std::string> arguments,
                      std::vector<std::string> environment = {}) {
        if (arguments.at(0) == "run") {
            arguments.emplace_back("--no-time");
            if (std::ranges::find(arguments, "--cards") == arguments.end()) {
                arguments.emplace_back("--no-cards");
            }
        }
        arguments.insert(arguments.begin(), EM_PNI_BINARY_DIR "/pni-host");
        const std::vector<char*> argv = Pointers(arguments);
        const std::vector<char*> variables = Pointers(environment);
        int ends[2] = {-1, -1};
        (void)!::pipe2(ends, O_CLOEXEC);  // without a pipe there is no output
        pipe_ = CFileDescriptor(ends[0]);
        const CFileDescriptor writeEnd(ends[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile_.c_str(),
                                         O_WRONLY | O_CREAT, 0600);
        // nohup and some shells ignore signals, and a child inherits that.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        if (::posix_spawn(&child_, argv[0], &actions, &attributes, argv.data(), variables.data()) !=
            0) {
            child_ = -1;
        }
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        pipeName_ = "/proc/self/fd/" + std::to_string(ends[0]);
    }
    ~CProgram() {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
    }
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    // Reads standard output until it has `text`. False when it ends or pauses too long before.
    bool ReadUntil(const std::string& text) {
        while (output_.find(text) == std::string::npos) {
            if (!ReadMore()) {
                return false;
            }
        }
        return true;
    }
    // Leaves no room in the pipe of standard output.
    void FillOutput() const {
        const CFileDescriptor end(::open(pipeName_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        while (::write(end.Get(), "x", 1) > 0) {
        }
    }
    void CloseOutput() { pipe_ = CFileDescriptor(); }
    void Signal(int signal) const {
        if (child_ > 0) {
            ::kill(child_, signal);
        }
    }
    // The exit code, or 128 + the number of the signal that ended the program.
    int Wait() {
        while (ReadMore()) {
        }
        return WaitWithoutReading();
    }
    int WaitWithoutReading() {
        int status = 0;
        if (child_ <= 0 || ::waitpid(child_, &status, 0) != child_) {
            return -1;
        }
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    [[nodiscard]] const std::string& Output() const { return output_; }
    [[nodiscard]] std::string Errors() const { return test::contentOf(errorFile_); }

  private:
    static constexpr int longestSilence = 30000;  // milliseconds

    static std::vector<char*> Pointers(std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        return pointers;
    }
    bool ReadMore() {
        pollfd source{pipe_.Get(), POLLIN, 0};
        if (::poll(&source, 1, longestSilence) <= 0) {
            return false;
        }
        char block[4096];
        const ssize_t got = ::read(pipe_.Get(), block, sizeof block);
        if (got > 0) {
            output_.append(block, static_cast<std::size_t>(got));
        }
        return got > 0;
    }

    test::CTempDirectory folder_;
    std::string errorFile_ = folder_.File("errors");
    CFileDescriptor pipe_;
    std::string pipeName_;
    pid_t child_ = -1;
    std::string output_;
};

// How often `part` is in `text`.
inline int countOf(const std::string& part, const std::string& text) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

// The program with a module that changes the record.
inline CProgram scripted(std::vector<std::string> arguments,
                         std::vector<std::string> environment = {}) {
    arguments.insert(arguments.end(), {"--module", EM_PNI_BINARY_DIR "/host_scripted_module.so"});
    return CProgram(std::move(arguments), std::move(environment));
}

}  // namespace em_pni::host_test
