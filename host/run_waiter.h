// What the main thread of a running host sleeps on.
#pragma once

#include <csignal>

#include "platform/file.h"

namespace em_pni {

class CRunWaiter {
  public:
    enum class Reason { stop, written };

    // From here on SIGINT and SIGTERM only end Wait, provided that no other thread exists yet:
    // threads made later inherit that they are blocked.
    CRunWaiter();
    // Drops signals that came too late to be waited for.
    ~CRunWaiter();
    CRunWaiter(const CRunWaiter&) = delete;
    CRunWaiter& operator=(const CRunWaiter&) = delete;

    // From any thread. Several before the next Wait count as one.
    void NotifyWritten() noexcept;
    // A stop is reported before a write.
    Reason Wait();

  private:
    sigset_t signals_{};
    sigset_t previousMask_{};
    CFileDescriptor signalQueue_;
    CFileDescriptor written_;
};

}  // namespace em_pni
