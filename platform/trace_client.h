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

}  // namespace em_pni
