// What the main thread of a running host sleeps on.
#pragma once

#include <chrono>
#include <csignal>
#include <optional>

#include "host/network_watch.h"
#include "platform/file.h"

namespace em_pni {

class CRunWaiter {
  public:
    enum class Reason { stop, written, networkChanged };

    // From here on SIGINT and SIGTERM only end Wait, provided that no other thread exists yet:
    // threads made later inherit that they are blocked.
    explicit CRunWaiter(bool watchNetwork);
    // Drops signals that came too late to be waited for.
    ~CRunWaiter();
    CRunWaiter(const CRunWaiter&) = delete;
    CRunWaiter& operator=(const CRunWaiter&) = delete;

    // From any thread. Several before the next Wait count as one.
    void NotifyWritten() noexcept;
    // A stop is reported before a write, and a write before a change of the network. All changes in
    // the half second from the first one on are reported as one, at its end.
    Reason Wait();

  private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] int TimeLeft() const;
    bool BurstIsOver();

    sigset_t signals_{};
    sigset_t previousMask_{};
    CFileDescriptor signalQueue_;
    CFileDescriptor written_;
    std::optional<CNetworkWatch> watch_;
    std::optional<Clock::time_point> burstEnd_;  // while changes are being gathered
};

}  // namespace em_pni
