// Manual-reset and auto-reset events between the threads of one process.
#pragma once

#include <cstdint>
#include <string_view>

namespace em_pni {

// A handle on an event. An event with a name is shared by all handles of that name; it lives until
// the last of them is released. Every operation may be called from any thread; a handle must not be
// released while a thread waits through it. No operation throws; a thread may be cancelled in Wait.
class CEvent {
  public:
    static constexpr std::uint32_t forever = 0xFFFFFFFF;  // milliseconds

    // Results of Wait; any other value is an error number.
    static constexpr int signalled = 0;
    static constexpr int timedOut = 102;
    static constexpr int invalidHandle = -1;

    // An empty name makes an event of its own. Opening a name that exists keeps that event's kind
    // and state. Without memory or system resources the handle is invalid: it does nothing.
    CEvent(std::string_view name, bool isManual, bool isSignaled) noexcept;
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    [[nodiscard]] bool IsValid() const noexcept { return state_ != nullptr; }
    // Signals: a manual event releases all waiters and stays signalled, an auto event releases one
    // waiter and is cleared by it.
    void Set() noexcept;
    // Releases those that wait at this moment (all of a manual event, one of an auto event); the
    // event is not signalled afterwards.
    void Pulse() noexcept;
    void Reset() noexcept;
    // Signals for good: nobody waits on this event any longer.
    void Close() noexcept;
    [[nodiscard]] bool Check() const noexcept;
    // Waits on the monotonic clock.
    [[nodiscard]] int Wait(std::uint32_t milliseconds);

  private:
    struct State;
    static void Release(State* state) noexcept;

    State* state_;  // shared by the handles of the same name; null = invalid
};

}  // namespace em_pni
