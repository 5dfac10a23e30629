// The addresses of one port function, as bytes and numbers.
#pragma once

#include <optional>

#include "frudata/port_function.h"
#include "platform/address.h"

namespace em_pni {

// Of an Ethernet function; none for another one or where the function is too short.
std::optional<MacAddress> manufactureMac(const CPniPortFunction& function);
std::optional<MacAddress> activeMac(const CPniPortFunction& function);

// Of a Fibre Channel function that is long enough to hold names; a name whose text is none is 0.
std::optional<PhysicalAddress> manufactureNames(const CPniPortFunction& function);

}  // namespace em_pni
