// The speed of a link as its driver reports it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "devscan/interface_control.h"

namespace em_pni {

// In kbit/s. No value when the driver does not know the speed, for example without a link, or when
// there is no such interface.
std::optional<std::uint64_t> linkSpeedOf(CInterfaceControl& control, const std::string& name);

}  // namespace em_pni
