// The trace of this module: one line per call, for whoever has to find out what happened.
//
//     PNI_TRACE(2, "\nEM_PNI              : Received %u bytes", count);
//
// Levels: 1 errors, 2 ordinary flow, 3 progress of the synchronisation, 5 details, 6 locks. A line
// is written when its level is at most the configured one; see trace_config.h. While it is
// not, a call costs one branch and its arguments are not evaluated. Any thread may trace at any
// time, also before the trace begins and after it ends.
#pragma once

#include <atomic>

namespace em_pni::trace {

// The highest level that can be written at present; 0 = tracing is off. Kept by CDebugClient.
extern std::atomic<int> gate;

// Whether a line of `level` is wanted, asked behind the gate. When the configuration is followed
// while the process runs, this is also where a change of it is noticed.
bool admits(int level) noexcept;

void write(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

inline bool isOn(int level) noexcept {
    return level <= gate.load(std::memory_order_relaxed) && admits(level);
}

}  // namespace em_pni::trace

#define PNI_TRACE(level, ...)                    \
    do {                                         \
        if (::em_pni::trace::isOn(level)) {      \
            ::em_pni::trace::write(__VA_ARGS__); \
        }                                        \
    } while (false)
