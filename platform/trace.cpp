#include "platform/trace.h"

#include <cstdarg>

#include "platform/trace_client.h"

namespace em_pni::trace {

std::atomic<int> gate{0};

bool admits(int level) noexcept {
    return CDebugClient::Admits(level);
}

void write(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    CDebugClient::Write(format, arguments);
    va_end(arguments);
}

}  // namespace em_pni::trace
