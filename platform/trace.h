// The trace of this module. Each call writes one line to the log file.
//
//     PNI_TRACE(2, "\nEM_PNI              : Received %u bytes", count);
//
// Levels: 1 errors, 2 ordinary flow, 3 progress of the synchronisation, 5 details, 6 locks. A line
// is written when its level is at most the configured level (trace_config.h). Otherwise the call
// costs one branch and does not evaluate its arguments. Any thread may trace at any time. While no
// CDebugClient exists (trace_client.h), nothing is written.
#pragma once

#include <atomic>

namespace em_pni::trace {

// The highest level that can be written at present. 0 = tracing is off. Set by CDebugClient.
extern std::atomic<int> gate;

// Whether a line of `level` is to be written. Called only for levels that pass the gate. Reads the
// configuration again when it has changed and a dynamic update interval is set.
bool admits(int level) noexcept;

// Writes one line, which was admitted. Leading newlines of `format` are skipped.
void write(int level, const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));

inline bool isOn(int level) noexcept {
    return level <= gate.load(std::memory_order_relaxed) && admits(level);
}

}  // namespace em_pni::trace

#define PNI_TRACE(level, ...)                           \
    do {                                                \
        if (::em_pni::trace::isOn(level)) {             \
            ::em_pni::trace::write(level, __VA_ARGS__); \
        }                                               \
    } while (false)
