#include "platform/trace_client.h"

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

std::mutex debugLock;           // guards debug and all that it does
CDebug* activeDebug = nullptr;  // owned by the active CDebugClient

// Writing is where a cancelled thread would unwind, through callers that cannot be unwound.
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
    // secure_getenv: a set-id program must not write where its caller says.
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

bool CDebugClient::Admits(int level) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    if (activeDebug == nullptr) {
        return false;
    }
    const bool admitted = activeDebug->Admits(level);
    trace::gate.store(activeDebug->Gate(), std::memory_order_relaxed);
    return admitted;
}

void CDebugClient::Write(const char* format, va_list arguments) noexcept {
    const CNoCancellation noCancellation;
    const std::lock_guard guard(debugLock);
    if (activeDebug != nullptr) {
        activeDebug->Write(format, arguments);
    }
}

}  // namespace em_pni
