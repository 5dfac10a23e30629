// The output streams and the exit codes of pni-host.
#pragma once

#include <ostream>
#include <string_view>

#include "platform/recursive_lock.h"

namespace em_pni {

enum ExitCode : int {
    exitDone = 0,
    exitFailed = 1,   // the command ran and its result is bad
    exitUnusable = 2  // bad arguments, or a file or module that cannot be used
};

// Standard output and standard error. Each call is flushed at once. Any thread may write.
class CConsole {
  public:
    CConsole(std::ostream& output, std::ostream& errors) : output_(output), errors_(errors) {}

    // Writes a document without adding a newline.
    void Text(std::string_view text);
    void Line(std::string_view text);
    // Writes a line with the program's name before it to standard error.
    void Error(std::string_view text);
    // False after a write to standard output has failed.
    [[nodiscard]] bool AllWritten();

  private:
    CRecursiveLock lock_;
    std::ostream& output_ PNI_GUARDED_BY(lock_);
    std::ostream& errors_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
