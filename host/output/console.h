// What pni-host says, and how it ends.
#pragma once

#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/recursive_lock.h"

namespace em_pni {

// Exit codes of the program.
enum ExitCode : int {
    exitDone = 0,
    exitFailed = 1,   // the work was done and its outcome is bad
    exitUnusable = 2  // bad arguments, or a file or module that cannot be used
};

// Ends a command with exitUnusable; the text is for the user.
class CHostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// "<what>: <the system's text for this errno>".
std::string systemErrorText(const std::string& what, int error);

// The two output streams, each line flushed at once. Any thread may write.
class CConsole {
  public:
    CConsole(std::ostream& output, std::ostream& errors) : output_(output), errors_(errors) {}

    // As it is, for documents.
    void Text(std::string_view text);
    void Line(std::string_view text);
    // To standard error, with the program's name before it.
    void Error(std::string_view text);
    // False when standard output did not take everything.
    [[nodiscard]] bool AllWritten();

  private:
    CRecursiveLock lock_;
    std::ostream& output_ PNI_GUARDED_BY(lock_);
    std::ostream& errors_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
