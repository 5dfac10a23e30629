// The socket through which `pni-host event` reaches the running host of FRU data: a datagram socket
// "<file name>.events" in the folder of their place, with access for its owner only. A message is
// the word of an event.
#pragma once

#include <string>
#include <sys/types.h>

#include "host/events/host_event.h"
#include "host/machine/fru_place.h"
#include "host/output/console.h"
#include "platform/file.h"

namespace em_pni {

// The place of the socket of FRU data.
struct EventPlace {
    // Throws a CHostError when the place has no folder.
    explicit EventPlace(const CFruPlace& fru);

    std::string fruName;     // as the user knows the data
    std::string folderPath;  // without symbolic links
    std::string name;        // of the socket in that folder
    CFileDescriptor folder;  // open: a path may be longer than the address of a socket
};

// The end of the running host.
class CEventSocket final : public CIEventSource {
  public:
    // The caller holds the lock of the data. Replaces the socket of a killed host. Throws a
    // CHostError when this fails. The console must outlive this.
    CEventSocket(const CFruPlace& fru, CConsole& console);
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
    dev_t device_ = 0;  // with inode_: the socket file of this host
    ino_t inode_ = 0;
    std::optional<HostEvent> taken_;  // between Take and NextReport
    Clock::time_point takenAt_;
};

// Sends the event to the running host of the data. False when there is none. Throws a CHostError
// when the host cannot be reached, or runs as another user.
bool deliverEvent(const CFruPlace& fru, HostEvent event);

}  // namespace em_pni
