// Runs commands of the machine for their output.
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

    // `command` is the absolute path of the program and its arguments; there is no shell. Returns
    // its whole standard output; nothing when it could not be run or did not succeed. May be called
    // from any thread.
    virtual std::optional<std::string> Run(const std::vector<std::string>& command) = 0;
};

struct CommandLimits {
    std::chrono::milliseconds time{3000};        // from start to end
    std::size_t output = std::size_t{4} << 20U;  // bytes
};

// A command that exceeds a limit is killed with its whole process group, and its output dropped:
// half a list would be taken for the truth.
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
    // Killed, but still in the kernel's hands (a dead disk, say) when we stopped waiting.
    std::vector<pid_t> abandoned_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
