#include "host/run_waiter.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "host/console.h"

namespace em_pni {

CRunWaiter::CRunWaiter() : written_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    signalQueue_ = CFileDescriptor(::signalfd(-1, &signals_, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!written_ || !signalQueue_) {
        throw CHostError(systemErrorText("cannot wait for signals", errno));
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, &previousMask_);
}

CRunWaiter::~CRunWaiter() {
    const timespec now{};
    while (::sigtimedwait(&signals_, nullptr, &now) > 0) {
    }
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
}

void CRunWaiter::NotifyWritten() noexcept {
    // Fails only when the count is at its limit, and then the waiter has been told often enough.
    [[maybe_unused]] const int result = ::eventfd_write(written_.Get(), 1);
}

CRunWaiter::Reason CRunWaiter::Wait() {
    std::array<pollfd, 2> sources{{{signalQueue_.Get(), POLLIN, 0}, {written_.Get(), POLLIN, 0}}};
    while (::poll(sources.data(), sources.size(), -1) < 0) {
        if (errno != EINTR) {
            throw CHostError(systemErrorText("cannot wait for signals", errno));
        }
    }
    if (sources[0].revents != 0) {
        return Reason::stop;
    }
    eventfd_t count = 0;
    ::eventfd_read(written_.Get(), &count);
    return Reason::written;
}

}  // namespace em_pni
