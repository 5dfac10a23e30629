// The order in which the IP addresses of an interface are told to a module.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/address.h"

namespace em_pni {

enum class Lifetime : std::uint8_t {
    permanent,
    dynamic,    // from DHCP or a router's advertisement
    temporary,  // an IPv6 address that changes for privacy
};

struct InterfaceAddress {
    IpAddress ip;
    bool linkLocal = false;   // valid on the link or the machine only
    bool deprecated = false;  // not for new connections
    Lifetime lifetime = Lifetime::permanent;
};

// The answers to the three kinds of questions, in the order of their indexes. Each list tells the
// families in turn: IPv4, IPv6, IPv6, IPv4 and so on. Each has an address once.
struct AddressLists {
    std::vector<IpAddress> any;
    std::vector<IpAddress> primary;
    std::vector<IpAddress> transient;
};

// A module asks for index 0 of the primary, the transient and any addresses, then for index 1 and
// so on to 3. It keeps the first IPv4 and the first two IPv6 addresses. These are always the best
// ones of their family: global before link-local, usable before deprecated, then in the order of
// Lifetime, then of their bytes. Primary are the permanent and transient the other addresses that
// are as good as the best one. The rest is told as any address only. So are transient IPv6
// addresses beside a primary one, which a module would otherwise hear later.
AddressLists listAddresses(const std::vector<InterfaceAddress>& addresses);

}  // namespace em_pni
