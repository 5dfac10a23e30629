// A background thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/event.h"

namespace em_pni {

// Not thread-safe: one thread controls it. The destructor waits without limit until a waitable
// thread has ended. Everything that the procedure uses must live longer than this object.
class CThread {
  public:
    // Must not throw. The result appears in the trace when the thread is joined.
    using Procedure = std::uint32_t (*)(void* argument);

    CThread(Procedure procedure, void* argument) noexcept
        : procedure_(procedure), argument_(argument) {}
    ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    // `priority`: other than 0 sets round-robin scheduling in the attributes. The thread inherits
    // the scheduling of its creator, so this usually has no effect. `suspend` and `stackSize` are
    // only traced. `waitable`: false starts a detached thread. `killAliveThread`: kills a thread
    // that is still alive first; without it Start then fails. The thread blocks all signals, which
    // are for the threads of the host. Returns false when no thread was started. Throws
    // std::bad_alloc.
    bool Start(int priority, bool suspend, std::size_t stackSize, bool waitable,
               bool killAliveThread);
    // Joins a waitable thread. Cancels a detached thread.
    void Kill();
    // Joins a waitable thread that ends within the time. Returns false when it did not end, there
    // is no thread, or it is detached.
    bool WaitForTermination(std::uint32_t milliseconds = CEvent::forever);
    // Whether the thread was started and its procedure has not returned.
    [[nodiscard]] bool IsAlive() const noexcept;
    // Whether a waitable thread was started and has not been joined.
    [[nodiscard]] bool IsJoinable() const noexcept;

  private:
    struct Run;

    bool Join(const char* operation);

    Procedure procedure_;
    void* argument_;
    std::shared_ptr<Run> run_;  // shared with the thread; null before Start and after the join
};

}  // namespace em_pni
