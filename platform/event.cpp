#include "platform/event.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <string>

#include "platform/recursive_lock.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// Holds the mutex of an event. Also releases it when the thread is cancelled.
class CMutexGuard {
  public:
    explicit CMutexGuard(pthread_mutex_t& mutex) noexcept : mutex_(mutex) {
        pthread_mutex_lock(&mutex_);
    }
    ~CMutexGuard() { pthread_mutex_unlock(&mutex_); }
    CMutexGuard(const CMutexGuard&) = delete;
    CMutexGuard& operator=(const CMutexGuard&) = delete;

  private:
    pthread_mutex_t& mutex_;
};

// Counts the threads in a scope. Also counts down when the thread is cancelled.
class CCounted {
  public:
    explicit CCounted(unsigned& count) noexcept : count_(count) { ++count_; }
    ~CCounted() { --count_; }
    CCounted(const CCounted&) = delete;
    CCounted& operator=(const CCounted&) = delete;

  private:
    unsigned& count_;
};

timespec deadlineIn(std::uint32_t milliseconds) noexcept {
    constexpr long nanosecondsPerSecond = 1000000000;
    timespec deadline{};
    ::clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += milliseconds / 1000;
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (deadline.tv_nsec >= nanosecondsPerSecond) {
        deadline.tv_nsec -= nanosecondsPerSecond;
        ++deadline.tv_sec;
    }
    return deadline;
}

}  // namespace

struct CEvent::State {
    State(std::string_view eventName, bool manual, bool initiallySignaled)
        : name(eventName), IsManual(manual), IsSignaled(initiallySignaled) {}
    ~State() {
        if (usable) {
            pthread_cond_destroy(&condition);
            pthread_mutex_destroy(&mutex);
        }
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    [[nodiscard]] const char* Name() const noexcept { return name.empty() ? "anon" : name.c_str(); }
    bool Initialise() noexcept;
    [[nodiscard]] bool Signaled() noexcept {
        const CMutexGuard guard(mutex);
        return IsSignaled;
    }
    // Whether the waiter with this ticket may go now. Takes the signal of an auto event. The caller
    // holds the mutex.
    bool Admit(std::uint64_t ticket) noexcept;
    // Wakes the waiters that one Set or Pulse can release. The caller holds the mutex.
    void Wake() noexcept {
        IsManual ? pthread_cond_broadcast(&condition) : pthread_cond_signal(&condition);
    }

    const std::string name;
    unsigned refCount = 1;  // guarded by the table lock
    bool usable = false;    // mutex and condition exist
    pthread_mutex_t mutex{};
    pthread_cond_t condition{};

    // Guarded by the mutex.
    const bool IsManual;
    bool IsSignaled;
    bool isClosed = false;
    // A pulse leaves no signalled state, so it records which waiters it releases. Each waiter gets
    // a ticket number. Waiters up to pulsedTicket may go. For an auto event only pulseCredits of
    // them may go.
    std::uint64_t lastTicket = 0;
    std::uint64_t pulsedTicket = 0;
    unsigned pulseCredits = 0;
    unsigned waiters = 0;
};

namespace {

// The named events of this process.
struct NamedEvents {
    CRecursiveLock lock;
    std::map<std::string, void*, std::less<>> table PNI_GUARDED_BY(lock);
};

NamedEvents& namedEvents() {
    // Never destroyed, because static objects that end later may own events.
    alignas(NamedEvents) static std::byte storage[sizeof(NamedEvents)];
    static auto* const events = new (storage) NamedEvents;
    return *events;
}

}  // namespace

bool CEvent::State::Initialise() noexcept {
    pthread_condattr_t attributes{};
    pthread_condattr_init(&attributes);
    int result = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    if (result != 0) {
        PNI_TRACE(1,
                  "pthread_condattr_setclock(): ## ERROR ##: Set CLOCK_MONOTONIC failed (ret=%d) "
                  "for event %p <%s> (IsSignaled=%d)\n",
                  result, static_cast<void*>(this), Name(), IsSignaled);
    } else if ((result = pthread_cond_init(&condition, &attributes)) != 0) {
        PNI_TRACE(1,
                  "pthread_cond_init(), CLOCK_MONOTONIC: ## ERROR ##: failed (ret=%d) on event %p "
                  "<%s> (IsSignaled=%d)\n",
                  result, static_cast<void*>(this), Name(), IsSignaled);
    } else if ((result = pthread_mutex_init(&mutex, nullptr)) != 0) {
        PNI_TRACE(1,
                  "pthread_mutex_init(), CLOCK_MONOTONIC: ## ERROR ##: failed (ret=%d) on event %p "
                  "<%s> (IsSignaled=%d)\n",
                  result, static_cast<void*>(this), Name(), IsSignaled);
        pthread_cond_destroy(&condition);
    }
    pthread_condattr_destroy(&attributes);
    usable = result == 0;
    return usable;
}

bool CEvent::State::Admit(std::uint64_t ticket) noexcept {
    if (isClosed) {
        return true;
    }
    if (ticket <= pulsedTicket) {
        if (IsManual) {
            return true;
        }
        if (pulseCredits > 0) {
            --pulseCredits;
            return true;
        }
    }
    if (!IsSignaled) {
        return false;
    }
    IsSignaled = IsManual;
    return true;
}

CEvent::CEvent(std::string_view name, bool isManual, bool isSignaled) noexcept : state_(nullptr) {
    try {
        NamedEvents& events = namedEvents();
        const CRecursiveLockGuard guard(events.lock);
        if (!name.empty()) {
            if (const auto known = events.table.find(name); known != events.table.end()) {
                state_ = static_cast<State*>(known->second);
                ++state_->refCount;
                PNI_TRACE(3, "refCount for event %p <%s> incremented (IsSignaled=%d)\n",
                          static_cast<void*>(state_), state_->Name(), state_->Signaled());
                if (state_->IsManual != isManual) {
                    PNI_TRACE(1, "WARNING: manual setting mismatch for event %p <%s>\n",
                              static_cast<void*>(state_), state_->Name());
                }
                return;
            }
        }
        auto state = std::make_unique<State>(name, isManual, isSignaled);
        if (!state->Initialise()) {
            return;
        }
        if (!name.empty()) {
            events.table.emplace(name, state.get());
        }
        state_ = state.release();
        PNI_TRACE(5, "creating event %p <%s> (IsSignaled=%d)\n", static_cast<void*>(state_),
                  state_->Name(), isSignaled);
    } catch (const std::bad_alloc&) {
        state_ = nullptr;
    }
}

CEvent::~CEvent() {
    if (state_ == nullptr) {
        return;
    }
    NamedEvents& events = namedEvents();
    const CRecursiveLockGuard guard(events.lock);
    PNI_TRACE(5, "decr refcount on event %p <%s> (IsSignaled=%d)\n", static_cast<void*>(state_),
              state_->Name(), state_->Signaled());
    if (--state_->refCount > 0) {
        return;
    }
    PNI_TRACE(5, "deleting event %p <%s> (IsSignaled=%d)\n", static_cast<void*>(state_),
              state_->Name(), state_->Signaled());
    if (!state_->name.empty()) {
        events.table.erase(state_->name);
    }
    delete state_;
}

void CEvent::Set() noexcept {
    if (state_ == nullptr) {
        return;
    }
    {
        const CMutexGuard guard(state_->mutex);
        PNI_TRACE(5, "Set event %p <%s> IsSignaled=%d --> IsSignaled=1\n",
                  static_cast<void*>(state_), state_->Name(), state_->IsSignaled);
        state_->IsSignaled = true;
        state_->Wake();
    }
    ::sched_yield();
}

void CEvent::Pulse() noexcept {
    if (state_ == nullptr) {
        return;
    }
    {
        const CMutexGuard guard(state_->mutex);
        PNI_TRACE(5, "Pulse event %p <%s> IsSignaled=%d --> IsSignaled=0\n",
                  static_cast<void*>(state_), state_->Name(), state_->IsSignaled);
        state_->IsSignaled = false;
        state_->pulsedTicket = state_->lastTicket;
        if (state_->pulseCredits < state_->waiters) {
            ++state_->pulseCredits;
        }
        state_->Wake();
    }
    ::sched_yield();
}

void CEvent::Reset() noexcept {
    if (state_ == nullptr) {
        return;
    }
    const CMutexGuard guard(state_->mutex);
    PNI_TRACE(5, "Reset event %p <%s>: IsSignaled=%d --> IsSignaled=0\n",
              static_cast<void*>(state_), state_->Name(), state_->IsSignaled);
    state_->IsSignaled = false;
}

void CEvent::Close() noexcept {
    if (state_ == nullptr) {
        return;
    }
    const CMutexGuard guard(state_->mutex);
    PNI_TRACE(5, "Close event %p <%s> IsSignaled=%d --> IsSignaled=1\n", static_cast<void*>(state_),
              state_->Name(), state_->IsSignaled);
    state_->IsSignaled = true;
    state_->isClosed = true;
    pthread_cond_broadcast(&state_->condition);
}

bool CEvent::Check() const noexcept {
    if (state_ == nullptr) {
        return false;
    }
    const CMutexGuard guard(state_->mutex);
    PNI_TRACE(5, "Check event %p <%s> (IsSignaled=%d)\n", static_cast<void*>(state_),
              state_->Name(), state_->IsSignaled);
    return state_->IsSignaled;
}

int CEvent::Wait(std::uint32_t milliseconds) {
    if (milliseconds == forever) {
        PNI_TRACE(5, "\nwaiting forever on event %p", static_cast<void*>(state_));
    } else {
        PNI_TRACE(5, "\nwaiting %dms on event %p", static_cast<int>(milliseconds),
                  static_cast<void*>(state_));
    }
    if (state_ == nullptr) {
        return invalidHandle;
    }
    const CMutexGuard guard(state_->mutex);
    // A later Pulse releases this thread, an earlier one does not.
    const std::uint64_t ticket = ++state_->lastTicket;
    if (state_->Admit(ticket)) {
        PNI_TRACE(5,
                  "event %p <%s> (IsManual=%d) has been already signaled --> New state: "
                  "IsSignaled=%d\n",
                  static_cast<void*>(state_), state_->Name(), state_->IsManual, state_->IsSignaled);
        return signalled;
    }
    const timespec deadline = deadlineIn(milliseconds == forever ? 0 : milliseconds);
    if (milliseconds != forever) {
        PNI_TRACE(5, "waiting until %lld.%09ld on event %p\n",
                  static_cast<long long>(deadline.tv_sec), deadline.tv_nsec,
                  static_cast<void*>(state_));
    }
    const CCounted counted(state_->waiters);
    bool released = false;
    int error = 0;
    // Threads also wake up without a signal. Only Admit decides whether the wait ends.
    while (!released && (error == 0 || error == EINTR)) {
        error = milliseconds == forever
                    ? pthread_cond_wait(&state_->condition, &state_->mutex)
                    : pthread_cond_timedwait(&state_->condition, &state_->mutex, &deadline);
        released = state_->Admit(ticket);
    }
    const int result = released ? signalled : error == ETIMEDOUT ? timedOut : error;
    PNI_TRACE(5, "%s(%d,%d) on event %p <%s> (IsSignaled=%d)\n",
              released             ? "SIGNAL"
              : result == timedOut ? "TIMEOUT"
                                   : "FAILURE",
              result, error, static_cast<void*>(state_), state_->Name(), state_->IsSignaled);
    return result;
}

}  // namespace em_pni
