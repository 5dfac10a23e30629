// The way by which `pni-host event` reaches the running host of an image: a datagram socket beside
// the image, named like it with ".events" behind and open to its owner alone. A message is the word
// of an event.
#pragma once

#include <string>
#include <sys/types.h>

#include "host/events/event_source.h"
#include "host/machine/fru_image.h"
#include "host/output/console.h"
#include "platform/file.h"

namespace em_pni {

// Where the socket of an image stands.
struct EventPlace {
    // Throws a CHostError when the folder cannot be opened.
    explicit EventPlace(const CFruImage& image);

    std::string image;       // as the user calls it
    std::string folderPath;  // of the image, links resolved
    std::string name;        // of the socket in that folder
    CFileDescriptor folder;  // to go through: a path may be longer than a socket's address
};

// The running host's end.
class CEventSocket final : public CIEventSource {
  public:
    // Throws a CHostError when another host is at work on the image, also in another process. The
    // socket that a killed one has left is replaced. The console must outlive this.
    CEventSocket(const CFruImage& image, CConsole& console);
    // Removes the socket.
    ~CEventSocket() override;
    CEventSocket(const CEventSocket&) = delete;
    CEventSocket& operator=(const CEventSocket&) = delete;

    [[nodiscard]] int Descriptor() const noexcept override { return taken_ ? -1 : socket_.Get(); }
    void Take(Clock::time_point now) override;
    [[nodiscard]] std::optional<Clock::time_point> DueAt() const override {
        return taken_ ? std::optional(takenAt_) : std::nullopt;
    }
    std::optional<EventReport> NextReport(Clock::time_point now) override;

  private:
    EventPlace place_;
    CConsole& console_;
    CFileDescriptor socket_;
    dev_t device_ = 0;  // of the socket's file, as the next: what is removed is our own
    ino_t inode_ = 0;
    std::optional<HostEvent> taken_;  // between Take and NextReport
    Clock::time_point takenAt_;
};

// Throws a CHostError when a host is at work on the image.
void requireNoRunningHost(const CFruImage& image);

// True when the running host of the image has got the event, false when none is at work on it.
// Throws a CHostError when it cannot be reached.
bool deliverEvent(const CFruImage& image, HostEvent event);

}  // namespace em_pni
