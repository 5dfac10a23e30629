// What the kernel's numbers about interfaces and addresses mean to the host.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/machine/network_snapshot.h"

namespace em_pni {

// The interface type for an ARPHRD_ number: Ethernet is `ethernet`, all others are not. Neither is
// an Ethernet interface without an address, an empty bond for example: it can belong to no adapter,
// and a module that relies on addresses may give up all interfaces for it.
std::uint32_t interfaceTypeOf(unsigned hardwareType, std::span<const std::uint8_t> mac) noexcept;

// The link state for an IF_OPER_ number and the IFF_ flags. Drivers that report no state of their
// own are believed when the interface is enabled and has a carrier.
std::uint32_t linkStateOf(unsigned operationalState, unsigned flags) noexcept;

struct KernelAddress {
    std::vector<std::uint8_t> bytes;
    unsigned flags = 0;  // IFA_F_
    unsigned scope = 0;  // RT_SCOPE_
};

// Without those that are not yet, or not at all, the interface's own; the ones valid beyond the
// link first, in the given order otherwise.
std::vector<IpAddress> tellableAddresses(const std::vector<KernelAddress>& addresses);

}  // namespace em_pni
