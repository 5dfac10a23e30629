#include "platform/thread.h"

#include <csignal>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sched.h>

#include "platform/trace.h"

namespace em_pni {
namespace {

// The thread as trace lines show it.
unsigned shown(pthread_t thread) noexcept {
    return static_cast<unsigned>(thread);
}

class CAttributes {
  public:
    CAttributes() noexcept : error_(pthread_attr_init(&attributes_)) {
        if (error_ != 0) {
            PNI_TRACE(1, "\npthread_attr_init failed: %d", error_);
        }
    }
    ~CAttributes() {
        if (error_ == 0) {
            pthread_attr_destroy(&attributes_);
        }
    }
    CAttributes(const CAttributes&) = delete;
    CAttributes& operator=(const CAttributes&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return error_ == 0; }
    [[nodiscard]] const pthread_attr_t* Get() const noexcept { return &attributes_; }

    void Detach() noexcept {
        if (const int error = pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED)) {
            PNI_TRACE(1, "\npthread_attr_setdetachstate failed: %d", error);
        }
    }

    void Prioritise(int priority) noexcept {
        if (const int error = pthread_attr_setschedpolicy(&attributes_, SCHED_RR)) {
            PNI_TRACE(1, "\npthread_attr_setschedpolicy failed: %d", error);
        }
        sched_param parameters{};
        if (const int error = pthread_attr_getschedparam(&attributes_, &parameters)) {
            PNI_TRACE(1, "\npthread_attr_getschedparam failed: %d", error);
        }
        parameters.sched_priority = priority;
        if (const int error = pthread_attr_setschedparam(&attributes_, &parameters)) {
            PNI_TRACE(1, "\npthread_attr_setschedparam failed: error=%d priority=%d", error,
                      priority);
        }
    }

  private:
    pthread_attr_t attributes_{};
    int error_;
};

}  // namespace

struct CThread::Run {
    Run(Procedure theProcedure, void* theArgument, bool isWaitable)
        : procedure(theProcedure), argument(theArgument), waitable(isWaitable) {
        if (!ended.IsValid()) {
            throw std::bad_alloc();
        }
    }

    static void* Enter(void* shared);

    void MarkEnded() noexcept {
        const std::lock_guard guard(lock);
        hasEnded = true;
        ended.Set();
    }

    const Procedure procedure;
    void* const argument;
    const bool waitable;
    pthread_t thread{};
    CEvent ended{"", true, false};
    std::mutex lock;
    bool hasEnded = false;  // guarded by `lock`; while false, `thread` is alive
};

void* CThread::Run::Enter(void* shared) {
    const std::unique_ptr<std::shared_ptr<Run>> own(static_cast<std::shared_ptr<Run>*>(shared));
    Run& run = **own;
    // Also runs when the thread is cancelled.
    struct Marker {
        Run& run;
        ~Marker() { run.MarkEnded(); }
    } const marker{run};
    const std::uintptr_t result = run.procedure(run.argument);
    return reinterpret_cast<void*>(result);  // NOLINT(performance-no-int-to-ptr)
}

CThread::~CThread() {
    if (IsJoinable()) {
        Join("Dtor");
    }
}

bool CThread::Start(int priority, bool suspend, std::size_t stackSize, bool waitable,
                    bool killAliveThread) {
    PNI_TRACE(3,
              "\nCThread::Start: Start a thread, Prio=%d, Suspend=%d, StackSize=0x%08x, "
              "Waitable=%d, KillAliveThread=%d",
              priority, suspend, static_cast<unsigned>(stackSize), waitable, killAliveThread);
    if (IsAlive() && !killAliveThread) {
        return false;
    }
    if (run_) {
        Kill();
    }
    CAttributes attributes;
    if (!attributes) {
        return false;
    }
    if (!waitable) {
        attributes.Detach();
    }
    if (priority != 0) {
        attributes.Prioritise(priority);
    }
    auto run = std::make_shared<Run>(procedure_, argument_, waitable);
    auto forThread = std::make_unique<std::shared_ptr<Run>>(run);

    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int error = pthread_create(&run->thread, attributes.Get(), &Run::Enter, forThread.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) {
        PNI_TRACE(1, "\npthread_create failed: %d", error);
        return false;
    }
    forThread.release();  // NOLINT(bugprone-unused-return-value): the thread owns it now
    run_ = std::move(run);
    PNI_TRACE(3, "\nCThread::Start: thread=0x%08X created, Prio=%d, Waitable=%d, StackSize=0x%x",
              shown(run_->thread), priority, waitable, static_cast<unsigned>(stackSize));
    ::sched_yield();
    return true;
}

bool CThread::Join(const char* operation) {
    const pthread_t thread = run_->thread;
    void* result = nullptr;
    const int error = pthread_join(thread, &result);
    run_.reset();
    if (error != 0) {
        PNI_TRACE(1, "\nCThread::%s: ERROR ! ThreadJoin failed, Thread = 0x%08X, Err = 0x%08x",
                  operation, shown(thread), static_cast<unsigned>(error));
        return false;
    }
    PNI_TRACE(3, "\nCThread::%s: a joinable Thread = 0x%08X has terminated, pstat=%p", operation,
              shown(thread), result);
    return true;
}

void CThread::Kill() {
    if (!run_) {
        PNI_TRACE(1, "\nCThread::Kill: Thread = 0x0%08X doesn't exist !", 0U);
        return;
    }
    if (run_->waitable) {
        PNI_TRACE(3, "\nCThread::Kill: Try to join a joinable Thread = 0x%08X",
                  shown(run_->thread));
        Join("Kill");
        return;
    }
    const std::shared_ptr<Run> run = std::move(run_);
    const std::lock_guard guard(run->lock);
    if (run->hasEnded) {
        PNI_TRACE(1, "\nCThread::Kill: Thread = 0x0%08X doesn't exist !", shown(run->thread));
    } else if (const int error = pthread_cancel(run->thread)) {
        PNI_TRACE(1,
                  "\nCThread::Kill: unable to cancel a non-joinable thread 0x%08X (err = 0x%08x)",
                  shown(run->thread), static_cast<unsigned>(error));
    } else {
        PNI_TRACE(3, "\nCThread::Kill: a non-joinable thread 0x%08X cancel invoked",
                  shown(run->thread));
    }
}

bool CThread::WaitForTermination(std::uint32_t milliseconds) {
    if (!run_) {
        PNI_TRACE(1, "\nCThread::WaitForTermination: Thread = 0x0%08X doesn't exist !", 0U);
        return false;
    }
    if (!run_->waitable) {
        PNI_TRACE(1,
                  "\nCThread::WaitForTermination: WARNING: Can't wait for detached thread 0x%08X",
                  shown(run_->thread));
        return false;
    }
    if (milliseconds != CEvent::forever && run_->ended.Wait(milliseconds) == CEvent::timedOut) {
        PNI_TRACE(1,
                  "\nCThread::WaitForTermination: WARNING: can't wait for Thread = 0x%08X "
                  "termination with timeout",
                  shown(run_->thread));
        return false;
    }
    // The procedure has returned, so the join takes almost no time.
    return Join("WaitForTermination");
}

bool CThread::IsJoinable() const noexcept {
    return run_ && run_->waitable;
}

bool CThread::IsAlive() const noexcept {
    if (!run_) {
        return false;
    }
    const std::lock_guard guard(run_->lock);
    return !run_->hasEnded;
}

}  // namespace em_pni
