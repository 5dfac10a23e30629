// Runs a command of the machine for its output.
#pragma once

#include <optional>
#include <string>
#include <vector>

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

}  // namespace em_pni
