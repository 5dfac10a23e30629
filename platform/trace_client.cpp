#include "platform/trace_client.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <pthread.h>
#include <string>
#include <syslog.h>
#include <utility>

#include "platform/trace.h"
#include "platform/trace_log.h"

namespace em_pni {
namespace {

constexpr std::size_t maxSinkLine = 2048;  // bytes

std::mutex debugLock;           // held during each call of activeDebug and activeSink
CDebug* activeDebug = nullptr;  // owned by the active CDebugClient
CITraceSink* activeSink = nullptr;
int sinkLevel = 0;  // 0 = no sink

// Postpones the cancellation of the calling thread. Writing to a file is a cancellation point, and
// unwinding a noexcept function would end the process.
class CNoCancellation {
  public:
    CNoCancellation() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~CNoCancellation() { pthread_setcancelstate(before_, nullptr); }
    CNoCancellation(const CNoCancellation&) = delete;
    CNoCancellation& operator=(const CNoCancellation&) = delete;

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

// debugLock is held.
void updateGate() noexcept {
    const int debugGate = activeDebug != nullptr ? activeDebug->Gate() : 0;
    trace::gate.store(std::max(debugGate, sinkLevel), std::memory_order_relaxed);
}

// debugLock is held, and there is a sink.
__attribute__((format(printf, 1, 0))) void giveToSink(const char* format,
                                                      va_list arguments) noexcept {
    char text[maxSinkLine];
    while (*format == '\n') {
        ++format;
    }
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    if (length < 0) {
        return;
    }
    std::size_t end = std::min<std::size_t>(static_cast<std::size_t>(length), sizeof text - 1);
    while (end > 0 && text[end - 1] == '\n') {
        --end;
    }
    text[end] = '\0';
    try {
        activeSink->OnTraceLine(text);
    } catch (...) {
        // A sink that fails loses the line.
    }
}

}  // namespace

void setTraceSink(CITraceSink* sink, int level) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    activeSink = level > 0 ? sink : nullptr;
    sinkLevel = activeSink != nullptr ? level : 0;
    updateGate();
}

CDebugClient::CDebugClient(std::string_view moduleName) noexcept
    // The caller of a set-user-id program must not choose the folder of the log file.
    : CDebugClient(CDebugTraceConfig::systemDirectory, moduleName,
                   [](const char* name) -> const char* { return ::secure_getenv(name); }) {}

CDebugClient::CDebugClient(std::string_view configDirectory, std::string_view moduleName,
                           CDebugTraceConfig::Environment environment) noexcept {
    try {
        const std::lock_guard guard(debugLock);
        if (activeDebug == nullptr) {
            const std::string module(moduleName);
            activeDebug = new CDebug(
                CDebugTraceConfig(std::string(configDirectory), module, environment), module);
            active_ = true;
            updateGate();
        }
    } catch (...) {
        ::syslog(LOG_ERR, "ERROR: Error during initialization of the CDebug instance.\n");
    }
}

CDebugClient::~CDebugClient() {
    if (active_) {
        const std::lock_guard guard(debugLock);
        delete std::exchange(activeDebug, nullptr);
        updateGate();
    }
}

namespace trace {

std::atomic<int> gate{0};

bool admits(int level) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    const bool admitted = activeDebug != nullptr && activeDebug->Admits(level);
    updateGate();
    return admitted || level <= sinkLevel;
}

void write(int level, const char* format, ...) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    va_list arguments;
    va_start(arguments, format);
    if (level <= sinkLevel) {
        va_list copy;
        va_copy(copy, arguments);
        giveToSink(format, copy);
        va_end(copy);
    }
    if (activeDebug != nullptr && activeDebug->Admits(level)) {
        activeDebug->Write(format, arguments);
    }
    va_end(arguments);
}

}  // namespace trace
}  // namespace em_pni
