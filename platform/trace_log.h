// The log file of the trace: its header, the layout of a line, and the wrap at a size limit.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/trace_config.h"

namespace em_pni {

// Not thread-safe: the caller locks.
//
// The file is "<directory>/log.<module>". An existing file is emptied first. A file that another
// process uses, that is a link, or that belongs to another user is left alone. A line has the form
//
//     2026-01-31 12:00:00.123 [0000004711] EM_PNI        text
//
// When the file has grown beyond the maximum size, the next line goes directly behind the header.
class CDebug {
  public:
    // Opens the file and writes the header. When the file cannot be opened, reports that to the
    // system log and writes no lines.
    CDebug(CDebugTraceConfig config, std::string moduleName);
    // Writes the closing line.
    ~CDebug();
    CDebug(const CDebug&) = delete;
    CDebug& operator=(const CDebug&) = delete;

    // The value for trace::gate: 0 without a file, every level while the configuration is followed,
    // else the debug level.
    [[nodiscard]] int Gate() const noexcept;
    // Whether a line of `level` is to be written. Reads a changed configuration again first, at
    // most once per dynamic update interval.
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
    std::uint64_t byteCount_ = 0;    // header and lines since the last wrap
    std::uint64_t headerCount_ = 0;  // bytes of the header = file offset of the wrap point
    unsigned wrapCycle_ = 0;
    std::time_t lastUpdate_;
};

}  // namespace em_pni
