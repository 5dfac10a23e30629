// The output streams and the exit codes of pni-host.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "host/output/terminal.h"
#include "platform/recursive_lock.h"
#include "platform/text.h"

namespace em_pni {

enum ExitCode : int {
    exitDone = 0,
    exitFailed = 1,   // the command ran and its result is bad
    exitUnusable = 2  // bad arguments, or a file or module that cannot be used
};

struct ConsoleSettings {
    bool isQuiet = false;  // only errors and documents
    std::uint32_t traceLevel = 0;
};

// Standard output and standard error. Each call is flushed at once. Any thread may write.
class CConsole {
  public:
    CConsole(std::ostream& output, std::ostream& errors, const Terminal& outputTerminal = {},
             const Terminal& errorTerminal = {}, const ConsoleSettings& settings = {})
        : output_(output),
          errors_(errors),
          outputTerminal_(outputTerminal),
          errorTerminal_(errorTerminal),
          settings_(settings) {}

    // Lines for people, made to fit the terminal. Not written when only errors are wanted. `text`
    // may have colors: the caller makes its parts printable.
    void Text(std::string_view text);
    // A line of any bytes: what is not printable is replaced.
    void Line(std::string_view text) { Text(printable(text) + '\n'); }
    [[nodiscard]] const Terminal& OutputTerminal() const noexcept { return outputTerminal_; }
    // `text` in this color if the terminal of standard output has colors.
    [[nodiscard]] std::string Painted(std::string_view text, Color color) const {
        return painted(text, color, outputTerminal_);
    }
    // A document for programs, as it is and with a newline.
    void Document(std::string_view document);
    // Writes a line with the program's name before it to standard error. `text` may have any bytes.
    void Error(std::string_view text);
    // Writes a trace line of the module to standard error. It may have newlines inside.
    void Trace(std::string_view line);
    // What the user wants of the module's trace, as its level. 0 = nothing.
    [[nodiscard]] std::uint32_t TraceLevel() const noexcept { return settings_.traceLevel; }
    // False after a write to standard output has failed.
    [[nodiscard]] bool AllWritten();

  private:
    CRecursiveLock lock_;
    std::ostream& output_ PNI_GUARDED_BY(lock_);
    std::ostream& errors_ PNI_GUARDED_BY(lock_);
    const Terminal outputTerminal_;
    const Terminal errorTerminal_;
    const ConsoleSettings settings_;
};

}  // namespace em_pni
