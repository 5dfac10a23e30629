// Changes of the addresses in an image. No locks here: CPniFruData calls these under its own.
//
// Each works in place, mends the record's checksum, traces its outcome, and answers whether it
// changed what was asked. A change that would not fit (outside the function or the image, a length
// or count that would overflow) is refused and changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/address.h"

namespace em_pni {

// Writes MAC number p, as manufacture and as active address, into every Ethernet function of port p
// of the module. Refuses a MAC that is empty or all zero.
bool SetMACAddress(std::vector<std::uint8_t>& image, std::span<const MacAddress> macs,
                   std::uint8_t moduleIndex);

// Writes pair number p (`wwnn`, `wwpn`) into every Fibre Channel function of port p of the module.
bool SetWWNAddress(std::vector<std::uint8_t>& image, std::span<const PhysicalAddress> names,
                   std::uint8_t moduleIndex);

// Stores an IPv4 or IPv6 address in the first Ethernet function with that MAC.
// There is one IPv4 address at most: a second one replaces it. An IPv6 address replaces the one in
// its slot or becomes a new one; `slot` must not be greater than the number of those that are
// there.
bool SetIPAddress(std::vector<std::uint8_t>& image, const MacAddress& mac, const IpAddress& address,
                  std::size_t slot);

// Takes all IP addresses out of every Ethernet function, whose counters become 0. A function whose
// counters say more than it holds is left alone. False when the image holds no record.
bool ClearIpAddresses(std::vector<std::uint8_t>& image);

}  // namespace em_pni
