// Runs commands of the machine and returns their output.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/recursive_lock.h"

namespace em_pni {

class CCommandRunner {
  public:
    CCommandRunner() = default;
    virtual ~CCommandRunner() = default;
    CCommandRunner(const CCommandRunner&) = delete;
    CCommandRunner& operator=(const CCommandRunner&) = delete;

    // `command` is the absolute path of the program and its arguments. No shell is used. Returns
    // the whole standard output. Returns no value when the command did not start or did not exit
    // with status 0. Any thread may call.
    virtual std::optional<std::string> Run(const std::vector<std::string>& command) = 0;
};

// Where lspci is: the second place is that of distributions without /sbin/lspci.
inline constexpr const char* lspciPrograms[] = {"/sbin/lspci", "/usr/bin/lspci"};

struct CommandLimits {
    std::chrono::milliseconds time{3000};        // from start to end
    std::size_t output = std::size_t{4} << 20U;  // bytes
};

// Runs commands as processes. A command that exceeds a limit is killed with its process group. Its
// output is dropped, because a cut list would look like a complete one.
class CProcessRunner final : public CCommandRunner {
  public:
    CProcessRunner() = default;
    explicit CProcessRunner(const CommandLimits& limits) : limits_(limits) {}
    ~CProcessRunner() override;

    std::optional<std::string> Run(const std::vector<std::string>& command) override;

  private:
    void Abandon(pid_t process);
    void ReapAbandoned() noexcept;

    CommandLimits limits_;
    CRecursiveLock lock_;
    // Killed, but not ended in time, for example because a disk does not answer.
    std::vector<pid_t> abandoned_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
