// Events between the threads of one process, with manual or automatic reset.
#pragma once

#include <cstdint>
#include <string_view>

namespace em_pni {

// A handle of an event. All handles of the same name share one event, which lives as long as one of
// them. Any thread may call any operation. A handle must not be destroyed while a thread waits on
// it. No operation throws. Wait is a cancellation point (pthread_cancel).
class CEvent {
  public:
    static constexpr std::uint32_t forever = 0xFFFFFFFF;  // milliseconds

    // Results of Wait. Any other value is an errno value.
    static constexpr int signalled = 0;
    static constexpr int timedOut = 102;
    static constexpr int invalidHandle = -1;

    // Creates an event, or opens the event of that name and ignores the other arguments. An event
    // with an empty name is not shared. Without memory or system resources the handle is invalid:
    // its operations do nothing and Wait returns invalidHandle.
    CEvent(std::string_view name, bool isManual, bool isSignaled) noexcept;
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    [[nodiscard]] bool IsValid() const noexcept { return state_ != nullptr; }
    // Signals the event. A manual event releases all waiters and stays signalled. An auto event
    // releases one waiter, which resets it.
    void Set() noexcept;
    // Releases the threads that wait at this moment: all for a manual event, one for an auto event.
    // The event is not signalled afterwards.
    void Pulse() noexcept;
    void Reset() noexcept;
    // Signals the event permanently: releases all waiters, and no later Wait blocks.
    void Close() noexcept;
    // Whether the event is signalled. Does not change it.
    [[nodiscard]] bool Check() const noexcept;
    // The time is measured with the monotonic clock.
    [[nodiscard]] int Wait(std::uint32_t milliseconds);

  private:
    struct State;

    State* state_;  // shared by all handles of the name; null = invalid handle
};

}  // namespace em_pni
