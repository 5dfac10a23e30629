// Switches the trace of this process on and off.
#pragma once

#include <string_view>

#include "platform/trace_config.h"

namespace em_pni {

// The trace is on while this object lives. A second object at the same time does nothing. A trace
// that cannot start is reported to the system log and stays off. No operation throws.
class CDebugClient {
  public:
    // Reads the configuration of this machine: CDebugTraceConfig::systemDirectory and the
    // environment. Ignores the environment in a set-user-id or set-group-id program.
    explicit CDebugClient(std::string_view moduleName) noexcept;
    CDebugClient(std::string_view configDirectory, std::string_view moduleName,
                 CDebugTraceConfig::Environment environment) noexcept;
    ~CDebugClient();
    CDebugClient(const CDebugClient&) = delete;
    CDebugClient& operator=(const CDebugClient&) = delete;

  private:
    bool active_ = false;
};

// A receiver of trace lines beside the log file.
class CITraceSink {
  public:
    // `line` has no newline at its end. Called by any thread, one at a time. Must not trace.
    virtual void OnTraceLine(const char* line) = 0;

  protected:
    ~CITraceSink() = default;
};

// Gives the lines up to this level to the sink, whatever the configuration says, also without a
// CDebugClient. Null or level 0 = no sink. After the call no thread uses the sink from before.
void setTraceSink(CITraceSink* sink, int level) noexcept;

}  // namespace em_pni
