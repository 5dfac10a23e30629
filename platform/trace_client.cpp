#include "platform/trace_client.h"

#include <cstdarg>
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

std::mutex debugLock;           // held during each call of activeDebug
CDebug* activeDebug = nullptr;  // owned by the active CDebugClient

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

}  // namespace

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
            trace::gate.store(activeDebug->Gate(), std::memory_order_relaxed);
        }
    } catch (...) {
        ::syslog(LOG_ERR, "ERROR: Error during initialization of the CDebug instance.\n");
    }
}

CDebugClient::~CDebugClient() {
    if (active_) {
        const std::lock_guard guard(debugLock);
        trace::gate.store(0, std::memory_order_relaxed);
        delete std::exchange(activeDebug, nullptr);
    }
}

namespace trace {

std::atomic<int> gate{0};

bool admits(int level) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    if (activeDebug == nullptr) {
        return false;
    }
    const bool admitted = activeDebug->Admits(level);
    gate.store(activeDebug->Gate(), std::memory_order_relaxed);
    return admitted;
}

void write(const char* format, ...) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    if (activeDebug != nullptr) {
        va_list arguments;
        va_start(arguments, format);
        activeDebug->Write(format, arguments);
        va_end(arguments);
    }
}

}  // namespace trace
}  // namespace em_pni
