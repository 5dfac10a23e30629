#include "host/machine/address_lists.h"

#include <algorithm>
#include <tuple>

namespace em_pni {

namespace {

// The IPv4 addresses 169.254.0.0/16 are link-local in any scope.
bool isLinkLocal(const InterfaceAddress& address) noexcept {
    const auto& ip = address.ip;
    return address.linkLocal ||
           (ip.size() == IpAddress::shortSize && ip.data()[0] == 169 && ip.data()[1] == 254);
}

auto tierOf(const InterfaceAddress& address) noexcept {
    return std::tuple(isLinkLocal(address), address.deprecated);
}

bool isBefore(const InterfaceAddress& left, const InterfaceAddress& right) noexcept {
    return std::tuple(tierOf(left), left.lifetime, left.ip) <
           std::tuple(tierOf(right), right.lifetime, right.ip);
}

// The lists of one family. An address that the interface has several times counts once, at its best
// place.
AddressLists listFamily(const std::vector<InterfaceAddress>& addresses, std::size_t addressSize) {
    std::vector<InterfaceAddress> family;
    std::copy_if(
        addresses.begin(), addresses.end(), std::back_inserter(family),
        [addressSize](const InterfaceAddress& one) { return one.ip.size() == addressSize; });
    std::sort(family.begin(), family.end(), isBefore);
    AddressLists lists;
    for (const InterfaceAddress& one : family) {
        if (std::find(lists.any.begin(), lists.any.end(), one.ip) != lists.any.end()) {
            continue;
        }
        lists.any.push_back(one.ip);
        if (tierOf(one) != tierOf(family.front())) {
            continue;
        }
        if (one.lifetime == Lifetime::permanent) {
            lists.primary.push_back(one.ip);
        } else if (addressSize == IpAddress::shortSize || lists.primary.empty()) {
            lists.transient.push_back(one.ip);
        }
    }
    return lists;
}

std::vector<IpAddress> inTurn(const std::vector<IpAddress>& ipv4,
                              const std::vector<IpAddress>& ipv6) {
    constexpr std::size_t ipv6PerTurn = 2;
    std::vector<IpAddress> all;
    auto next4 = ipv4.begin();
    auto next6 = ipv6.begin();
    while (next4 != ipv4.end() || next6 != ipv6.end()) {
        if (next4 != ipv4.end()) {
            all.push_back(*next4++);
        }
        for (std::size_t i = 0; i < ipv6PerTurn && next6 != ipv6.end(); ++i) {
            all.push_back(*next6++);
        }
    }
    return all;
}

}  // namespace

AddressLists listAddresses(const std::vector<InterfaceAddress>& addresses) {
    const AddressLists ipv4 = listFamily(addresses, IpAddress::shortSize);
    const AddressLists ipv6 = listFamily(addresses, IpAddress::longSize);
    return {inTurn(ipv4.any, ipv6.any), inTurn(ipv4.primary, ipv6.primary),
            inTurn(ipv4.transient, ipv6.transient)};
}

}  // namespace em_pni
