#include "host/output/service_status.h"

#include <cstdint>
#include <cstdlib>
#include <systemd/sd-daemon.h>

namespace em_pni {

bool CServiceStatus::IsService() const noexcept {
    return std::getenv("NOTIFY_SOCKET") != nullptr;
}

std::optional<std::chrono::milliseconds> CServiceStatus::AliveInterval() const noexcept {
    std::uint64_t limit = 0;  // in microseconds
    if (::sd_watchdog_enabled(0, &limit) <= 0) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::microseconds(limit / 2));
}

void CServiceStatus::Ready() const noexcept {
    ::sd_notify(0, "READY=1");
}

void CServiceStatus::Reloading() const noexcept {
    ::sd_notify(0, "RELOADING=1");
}

void CServiceStatus::Stopping() const noexcept {
    ::sd_notify(0, "STOPPING=1");
}

void CServiceStatus::Alive() const noexcept {
    ::sd_notify(0, "WATCHDOG=1");
}

void CServiceStatus::Text(const std::string& text) const noexcept {
    ::sd_notifyf(0, "STATUS=%s", text.c_str());
}

}  // namespace em_pni
