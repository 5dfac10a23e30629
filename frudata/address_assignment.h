// Changes of the addresses in an image. These functions take no lock: CPniFruData calls them while
// it holds its own.
//
// Each changes the image in place, mends the checksum of the record and returns whether it made the
// change. A change that does not fit is refused and changes nothing: bytes outside the function or
// the image, a length or a count that would overflow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/address.h"

namespace em_pni {

// Writes macs[p] as manufacture and active MAC into every Ethernet function of port p of the
// module. A port without an entry and a function without room for both stay as they are. A MAC that
// is empty or all zero refuses the whole change.
bool SetMACAddress(std::vector<std::uint8_t>& image, std::span<const MacAddress> macs,
                   std::uint8_t moduleIndex);

// Writes the `wwnn` and `wwpn` of names[p] into every Fibre Channel function of port p of the
// module. A port without an entry and a function without room for all four names stay as they are.
bool SetWWNAddress(std::vector<std::uint8_t>& image, std::span<const PhysicalAddress> names,
                   std::uint8_t moduleIndex);

// Stores an IPv4 or IPv6 address in the first Ethernet function with this MAC. Only the first six
// bytes of the MAC count.
// An IPv4 address replaces the first one of the function or becomes its only one. An IPv6 address
// replaces the one at `slot` or, when `slot` is the number of IPv6 addresses, becomes a new one.
bool SetIPAddress(std::vector<std::uint8_t>& image, const MacAddress& mac, const IpAddress& address,
                  std::size_t slot);

// Removes all IP addresses of all Ethernet functions and sets their counters to 0. A function whose
// counters state more than it holds stays as it is. Returns false when the image holds no record.
bool ClearIpAddresses(std::vector<std::uint8_t>& image);

}  // namespace em_pni
