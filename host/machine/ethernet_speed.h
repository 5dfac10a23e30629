// The speed of a link as its driver tells it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "devscan/interface_control.h"

namespace em_pni {

// In kbit/s; nothing when the driver does not know, as without a link, or there is no such
// interface.
std::optional<std::uint64_t> ethernetSpeed(CInterfaceControl& control, const std::string& name);

}  // namespace em_pni
