// The trace's log file: layout of a line, header, and the wrap at a size limit.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/trace_config.h"

namespace em_pni {

// Not thread-safe: CDebugClient calls it under its lock.
//
// The file is "<directory>/log.<module>", made anew. A line is
//
//     2026-01-31 12:00:00.123 [0000004711] EM_PNI        text
//
// and the file goes on right behind its header once it has grown past the maximum size.
class CDebug {
  public:
    // Opens the file and writes the header. Without the file nothing is written.
    CDebug(CDebugTraceConfig config, std::string moduleName);
    // Writes the closing line.
    ~CDebug();
    CDebug(const CDebug&) = delete;
    CDebug& operator=(const CDebug&) = delete;

    // The highest level of a call that must come here; see trace::gate.
    [[nodiscard]] int Gate() const noexcept;
    // Follows the configuration when that is asked for, then tests the level.
    [[nodiscard]] bool Admits(int level) noexcept;
    void Write(const char* format, va_list arguments) noexcept
        __attribute__((format(printf, 2, 0)));

  private:
    void Open();
    void WriteHeader();
    void Print(const char* format, va_list arguments) noexcept
        __attribute__((format(printf, 2, 0)));
    void PrintFormatted(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));
    void WriteCounted(std::string_view text) noexcept;
    void Wrap() noexcept;

    CDebugTraceConfig config_;
    std::string moduleName_;
    std::string path_;
    CFileDescriptor file_;
    std::uint64_t byteCount_ = 0;    // behind the last wrap, header included
    std::uint64_t headerCount_ = 0;  // bytes of the header = file offset behind it, the wrap point
    unsigned wrapCycle_ = 0;
    std::time_t lastUpdate_;
};

// The text in front of the first line: command line, environment, configuration.
std::string debugHeader(const CDebugTraceConfig& config, const std::string& moduleName,
                        bool toFile);

}  // namespace em_pni
