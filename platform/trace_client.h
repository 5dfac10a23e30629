// The life of the process-wide trace: it begins with a CDebugClient and ends with it.
#pragma once

#include <cstdarg>
#include <string_view>

#include "platform/trace_config.h"

namespace em_pni {

// At most one at a time; further ones do nothing. Never throws: a trace that cannot begin is
// reported to the system log and stays off.
class CDebugClient {
  public:
    // With the configuration of the machine: CDebugTraceConfig::systemDirectory and the
    // environment.
    explicit CDebugClient(std::string_view moduleName) noexcept;
    CDebugClient(std::string_view configDirectory, std::string_view moduleName,
                 CDebugTraceConfig::Environment environment) noexcept;
    ~CDebugClient();
    CDebugClient(const CDebugClient&) = delete;
    CDebugClient& operator=(const CDebugClient&) = delete;

    // What trace.h calls, from any thread.
    static bool Admits(int level) noexcept;
    static void Write(const char* format, va_list arguments) noexcept
        __attribute__((format(printf, 1, 0)));

  private:
    bool active_ = false;
};

}  // namespace em_pni
