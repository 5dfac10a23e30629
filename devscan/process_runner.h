// Commands as processes of this machine, held to limits.
#pragma once

#include <chrono>
#include <cstddef>
#include <sys/types.h>

#include "devscan/command_runner.h"
#include "platform/recursive_lock.h"

namespace em_pni {

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
