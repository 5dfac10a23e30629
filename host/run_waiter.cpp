#include "host/run_waiter.h"

#include <algorithm>
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

namespace {

constexpr std::chrono::milliseconds burst{500};

}  // namespace

CRunWaiter::CRunWaiter(bool watchNetwork) : written_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    signalQueue_ = CFileDescriptor(::signalfd(-1, &signals_, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!written_ || !signalQueue_) {
        throw CHostError(systemErrorText("cannot wait for signals", errno));
    }
    if (watchNetwork) {
        watch_.emplace();
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
    for (;;) {
        // During a burst there is nothing to learn from the next change.
        const int network = watch_ && !burstEnd_ ? watch_->Descriptor() : -1;
        std::array<pollfd, 3> sources{
            {{signalQueue_.Get(), POLLIN, 0}, {written_.Get(), POLLIN, 0}, {network, POLLIN, 0}}};
        if (::poll(sources.data(), sources.size(), TimeLeft()) < 0) {
            if (errno != EINTR) {
                throw CHostError(systemErrorText("cannot wait for signals", errno));
            }
            continue;
        }
        if (sources[0].revents != 0) {
            return Reason::stop;
        }
        if (sources[1].revents != 0) {
            eventfd_t count = 0;
            ::eventfd_read(written_.Get(), &count);
            return Reason::written;
        }
        if (sources[2].revents != 0 && watch_->TakeReports()) {
            burstEnd_ = Clock::now() + burst;
        }
        if (BurstIsOver()) {
            return Reason::networkChanged;
        }
    }
}

int CRunWaiter::TimeLeft() const {
    if (!burstEnd_) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*burstEnd_ - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

bool CRunWaiter::BurstIsOver() {
    if (!burstEnd_ || Clock::now() < *burstEnd_) {
        return false;
    }
    burstEnd_.reset();
    watch_->TakeReports();
    return true;
}

}  // namespace em_pni
