// The protocol of sd_notify(3) and sd_watchdog_enabled(3). libsystemd itself would load seven more
// libraries at each start of the program.
#include "host/output/service_status.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/number.h"

namespace em_pni {
namespace {

std::string_view environmentText(const char* name) noexcept {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::string_view() : text;
}

void tell(std::string_view message) noexcept {
    const std::string_view path = environmentText("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const bool isAbstract = path.starts_with('@');
    if (!(isAbstract || path.starts_with('/')) || path.size() >= sizeof address.sun_path) {
        return;
    }
    path.copy(address.sun_path, sizeof address.sun_path);
    if (isAbstract) {
        address.sun_path[0] = '\0';
    }
    // The name of an abstract socket has no end mark.
    const std::size_t length = offsetof(sockaddr_un, sun_path) + path.size() + (isAbstract ? 0 : 1);
    const CFileDescriptor file(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    (void)!::sendto(file.Get(), message.data(), message.size(), MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(length));
}

}  // namespace

bool CServiceStatus::IsService() const noexcept {
    return std::getenv("NOTIFY_SOCKET") != nullptr;
}

std::optional<std::chrono::milliseconds> CServiceStatus::AliveInterval() const noexcept {
    constexpr std::uint64_t any = std::numeric_limits<std::int64_t>::max();
    const auto microseconds = parseDecimal(environmentText("WATCHDOG_USEC"), any);
    const std::string_view process = environmentText("WATCHDOG_PID");
    const bool isOther =
        !process.empty() && parseDecimal(process, any) != static_cast<std::uint64_t>(::getpid());
    if (!microseconds || *microseconds == 0 || isOther) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::microseconds(*microseconds / 2));
}

void CServiceStatus::Ready() const noexcept {
    tell("READY=1");
}

void CServiceStatus::Reloading() const noexcept {
    tell("RELOADING=1");
}

void CServiceStatus::Stopping() const noexcept {
    tell("STOPPING=1");
}

void CServiceStatus::Alive() const noexcept {
    tell("WATCHDOG=1");
}

void CServiceStatus::Text(const std::string& text) const {
    tell("STATUS=" + text);
}

}  // namespace em_pni
