// The meaning of the kernel's numbers about a link. The source includes headers of the kernel that
// do not compile together with those of libnl.
#pragma once

#include <cstdint>
#include <span>

namespace em_pni {

// The interface type for an ARPHRD_ number. Only an ARPHRD_ETHER interface with an address other
// than zeros is `ethernet`: one without, for example an empty bond, belongs to no adapter, and a
// module that needs addresses may then reject all interfaces.
std::uint32_t interfaceTypeOf(unsigned hardwareType, std::span<const std::uint8_t> mac) noexcept;

// The link state for an IF_OPER_ number and the IFF_ flags. A driver that reports no state counts
// as up when the interface is enabled and has a carrier.
std::uint32_t linkStateOf(unsigned operationalState, unsigned flags) noexcept;

}  // namespace em_pni
