// What the main thread of a running host sleeps on.
#pragma once

#include <csignal>
#include <memory>
#include <variant>
#include <vector>

#include "host/events/event_source.h"
#include "platform/file.h"

namespace em_pni {

class CRunWaiter {
  public:
    struct Stop {};
    struct Written {};
    using Occasion = std::variant<Stop, Written, EventReport>;

    // From here on SIGINT and SIGTERM only end Wait, provided that no other thread exists yet:
    // threads made later inherit that they are blocked.
    CRunWaiter();
    // Closes the sources and drops signals that came too late to be waited for.
    ~CRunWaiter();
    CRunWaiter(const CRunWaiter&) = delete;
    CRunWaiter& operator=(const CRunWaiter&) = delete;

    // Wait reports its events, too.
    void Add(std::unique_ptr<CIEventSource> source);
    // From any thread. Several before the next Wait count as one.
    void NotifyWritten() noexcept;
    // A stop is reported before a write, and a write before the events of the sources. While a
    // source has one to come, those of the sources added later wait for it.
    Occasion Wait();

  private:
    using Clock = CIEventSource::Clock;

    [[nodiscard]] int TimeLeft() const;

    sigset_t signals_{};
    sigset_t previousMask_{};
    CFileDescriptor signalQueue_;
    CFileDescriptor written_;
    std::vector<std::unique_ptr<CIEventSource>> sources_;
};

}  // namespace em_pni
