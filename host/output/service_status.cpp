#include "host/output/service_status.h"

#include <cstdlib>
#include <dlfcn.h>
#include <systemd/sd-daemon.h>
#include <type_traits>

#include "host/output/host_error.h"

namespace em_pni {
namespace {

template <class Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    if (function == nullptr) {
        throw CHostError(::dlerror());
    }
}

}  // namespace

CServiceStatus::CServiceStatus() {
    static_assert(std::is_same_v<decltype(notify_), decltype(&::sd_notify)>);
    static_assert(std::is_same_v<decltype(watchdogEnabled_), decltype(&::sd_watchdog_enabled)>);
    if (std::getenv("NOTIFY_SOCKET") == nullptr) {
        return;
    }
    library_.reset(::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL));
    if (!library_) {
        throw CHostError(::dlerror());
    }
    find(library_.get(), "sd_notify", notify_);
    find(library_.get(), "sd_watchdog_enabled", watchdogEnabled_);
}

void CServiceStatus::Unload::operator()(void* library) const noexcept {
    ::dlclose(library);
}

std::optional<std::chrono::milliseconds> CServiceStatus::AliveInterval() const noexcept {
    std::uint64_t limit = 0;  // in microseconds
    if (!IsService() || watchdogEnabled_(0, &limit) <= 0) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::microseconds(limit / 2));
}

void CServiceStatus::Notify(const char* state) const noexcept {
    if (IsService()) {
        notify_(0, state);
    }
}

}  // namespace em_pni
