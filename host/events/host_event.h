// What a host tells its module unasked.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "em_pni/krcp_message.h"

namespace em_pni {

enum class HostEvent { deviceAdded, deviceChanged, deviceRemoved, addressChanged, shutdown };

// The event that `pni-host event` calls so: "added", "changed", "removed", "address" or
// "shutdown".
std::optional<HostEvent> hostEventOf(std::string_view word) noexcept;
std::string_view wordOf(HostEvent event) noexcept;
// For people: "device added".
std::string textOf(HostEvent event);
// The document that the module takes; null for a shutdown, of which it is notified.
std::unique_ptr<CKrcpMessage> messageOf(HostEvent event);

// An event that the module is to hear of.
struct EventReport {
    HostEvent event;
    std::string origin;  // for people: what it is about or who told it; may be empty
};

}  // namespace em_pni
