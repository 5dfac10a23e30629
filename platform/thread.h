// One background thread and its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/event.h"

namespace em_pni {

// Used by one controlling thread at a time. The destructor joins a waitable thread that has not
// been joined yet, however long that takes: nothing that the procedure uses may go before it.
class CThread {
  public:
    // The procedure must not throw. Its result is handed to whoever joins the thread.
    using Procedure = std::uint32_t (*)(void* argument);

    CThread(Procedure procedure, void* argument) noexcept
        : procedure_(procedure), argument_(argument) {}
    ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    // `priority` other than 0 asks for round-robin scheduling; as the scheduling is inherited from
    // the creating thread, it is a wish that takes effect only where the system says so. `suspend`
    // and `stackSize` are traced only. A thread that is not `waitable` is detached. A thread that
    // this object still runs is killed first when `killAliveThread` is set; otherwise nothing is
    // started. All signals are blocked in the thread: they are the host's. Throws std::bad_alloc.
    bool Start(int priority, bool suspend, std::size_t stackSize, bool waitable,
               bool killAliveThread);
    // Waits for the end of a waitable thread, cancels a detached one.
    void Kill();
    // Whether the thread has ended within the time, and is joined now.
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
    std::shared_ptr<Run> run_;  // null before Start and after the join; shared with the thread
};

}  // namespace em_pni
