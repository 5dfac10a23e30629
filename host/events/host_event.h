// What a host reports to its module without a request, and where it learns of it.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "em_pni/krcp_message.h"

namespace em_pni {

enum class HostEvent { deviceAdded, deviceChanged, deviceRemoved, addressChanged, shutdown };

// The words of `pni-host event`, in the order of HostEvent: "added", "changed", "removed",
// "address", "shutdown".
std::vector<std::string> hostEventWords();
// No value for any other word.
std::optional<HostEvent> hostEventOf(std::string_view word) noexcept;
std::string_view wordOf(HostEvent event) noexcept;
// A text for the user: "device added".
std::string textOf(HostEvent event);
// The document for the module; null for a shutdown, which is a notification.
std::unique_ptr<CKrcpMessage> messageOf(HostEvent event);

// An event that the module must hear of.
struct EventReport {
    HostEvent event;
    std::string origin;  // for the user: its devices or its sender; may be empty
};

class CIEventSource {
  public:
    using Clock = std::chrono::steady_clock;

    virtual ~CIEventSource() = default;

    // Readable when Take has something to read; -1 when the source does not want to be polled.
    [[nodiscard]] virtual int Descriptor() const noexcept = 0;
    // Reads what there is, without waiting.
    virtual void Take(Clock::time_point now) = 0;
    // The time of the next report when nothing more is read; no value = none is due.
    [[nodiscard]] virtual std::optional<Clock::time_point> DueAt() const = 0;
    // The next report that is due; no value when there is none.
    virtual std::optional<EventReport> NextReport(Clock::time_point now) = 0;
};

}  // namespace em_pni
