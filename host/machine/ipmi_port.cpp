#include "host/machine/ipmi_port.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <thread>

#include "host/output/host_error.h"

namespace em_pni {

CKernelIpmiPort::CKernelIpmiPort(const std::string& path)
    : device_(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK)) {
    if (!device_) {
        throw CHostError(systemErrorText(path + ": cannot open the IPMI device", errno));
    }
}

int CKernelIpmiPort::Ioctl(unsigned long request, void* argument) {
    return ::ioctl(device_.Get(), request, argument) == 0 ? 0 : errno;
}

bool CKernelIpmiPort::WaitForMessage(Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Now());
        const int timeout = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
        pollfd polled{device_.Get(), POLLIN, 0};
        const int result = ::poll(&polled, 1, timeout);
        if (result > 0) {
            return (polled.revents & POLLIN) != 0;
        }
        if ((result < 0 && errno != EINTR) || Now() >= deadline) {
            return false;
        }
    }
}

void CKernelIpmiPort::Pause(Clock::duration duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace em_pni
