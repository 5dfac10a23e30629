// The addresses of one port function, as bytes and numbers.
#pragma once

#include <optional>

#include "frudata/physical_address.h"
#include "frudata/port_function.h"

namespace em_pni {

// Of an Ethernet function; none for another one or where the function is too short.
std::optional<std::vector<std::uint8_t>> manufactureMac(const CPniPortFunction& function);
std::optional<std::vector<std::uint8_t>> activeMac(const CPniPortFunction& function);

// Of a Fibre Channel function that is long enough to hold names; a name whose text is none is 0.
std::optional<PhysicalAddress> manufactureNames(const CPniPortFunction& function);

}  // namespace em_pni
