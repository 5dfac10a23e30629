#include "host/events/run_waiter.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

#include "host/output/host_error.h"

namespace em_pni {

CEndSignals::CEndSignals() noexcept {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    sigaddset(&signals_, SIGPIPE);
    struct sigaction hangup {};
    if (::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN) {
        sigaddset(&signals_, SIGHUP);  // nohup ignores it
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, &previousMask_);
}

CEndSignals::~CEndSignals() {
    const timespec now{};
    while (::sigtimedwait(&signals_, nullptr, &now) > 0) {
    }
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
}

bool CEndSignals::IsPending() const noexcept {
    sigset_t pending{};
    return ::sigpending(&pending) == 0 && ::sigandset(&pending, &pending, &signals_) == 0 &&
           ::sigisemptyset(&pending) == 0;
}

CRunWaiter::CRunWaiter(const CEndSignals& signals, const Settings& settings)
    : settings_(settings),
      nextTick_(Clock::now() + settings.tick.value_or(std::chrono::milliseconds::zero())),
      signalQueue_(::signalfd(-1, &signals.Get(), SFD_CLOEXEC | SFD_NONBLOCK)),
      written_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!written_ || !signalQueue_) {
        throw CHostError(systemErrorText("cannot wait for signals", errno));
    }
}

void CRunWaiter::Add(std::unique_ptr<CIEventSource> source) {
    sources_.push_back(std::move(source));
}

void CRunWaiter::NotifyWritten() noexcept {
    // Fails only when the count is at its limit; then the descriptor is readable anyway.
    [[maybe_unused]] const int result = ::eventfd_write(written_.Get(), 1);
}

CRunWaiter::Occasion CRunWaiter::Wait(std::optional<Clock::time_point> wakeAt) {
    for (;;) {
        std::vector<pollfd> polled{{signalQueue_.Get(), POLLIN, 0}, {written_.Get(), POLLIN, 0}};
        for (const auto& source : sources_) {
            polled.push_back({source->Descriptor(), POLLIN, 0});
        }
        if (::poll(polled.data(), polled.size(), TimeLeft(wakeAt)) < 0) {
            if (errno != EINTR) {
                throw CHostError(systemErrorText("cannot wait for signals", errno));
            }
            continue;
        }
        if (settings_.tick && Clock::now() >= nextTick_) {
            nextTick_ = Clock::now() + *settings_.tick;
            return Tick{};
        }
        if (polled[0].revents == 0 && polled[1].revents == 0 && wakeAt && Clock::now() >= *wakeAt) {
            return Tick{};
        }
        if (polled[0].revents != 0) {
            return IsReload() ? Occasion(Reload{}) : Occasion(Stop{});
        }
        if (polled[1].revents != 0) {
            eventfd_t count = 0;
            ::eventfd_read(written_.Get(), &count);
            return Written{};
        }
        const Clock::time_point now = Clock::now();
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            if (polled[2 + i].revents != 0) {
                sources_[i]->Take(now);
            }
        }
        for (const auto& source : sources_) {
            if (auto report = source->NextReport(now)) {
                return *std::move(report);
            }
            if (source->DueAt()) {
                break;  // the later sources wait
            }
        }
    }
}

// Takes the signal.
bool CRunWaiter::IsReload() const {
    signalfd_siginfo signal{};
    return ::read(signalQueue_.Get(), &signal, sizeof signal) == sizeof signal &&
           signal.ssi_signo == SIGHUP && settings_.hangupReloads;
}

// The time-out of poll: milliseconds until an event or a tick is due, -1 = nothing is due.
int CRunWaiter::TimeLeft(std::optional<Clock::time_point> wakeAt) const {
    std::optional<Clock::time_point> due;
    for (const auto& source : sources_) {
        if ((due = source->DueAt())) {
            break;
        }
    }
    if (settings_.tick) {
        due = std::min(due.value_or(nextTick_), nextTick_);
    }
    if (wakeAt) {
        due = std::min(due.value_or(*wakeAt), *wakeAt);
    }
    if (!due) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

}  // namespace em_pni
