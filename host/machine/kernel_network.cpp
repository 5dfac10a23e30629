#include "host/machine/kernel_network.h"

#include <algorithm>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <map>
#include <netlink/addr.h>
#include <netlink/cache.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/socket.h>
#include <new>

#include "host/machine/link_facts.h"
#include "host/machine/link_speed.h"
#include "host/output/host_error.h"

namespace em_pni {

namespace {

struct FreeCache {
    void operator()(nl_cache* cache) const noexcept { ::nl_cache_free(cache); }
};
using NetlinkCache = std::unique_ptr<nl_cache, FreeCache>;

// Calls `visit` with each object of the cache, in the order of the kernel.
template <class Object, class Visit>
void forEach(const NetlinkCache& cache, Visit visit) {
    for (nl_object* object = ::nl_cache_get_first(cache.get()); object != nullptr;
         object = ::nl_cache_get_next(object)) {
        visit(reinterpret_cast<Object*>(object));
    }
}

std::vector<std::uint8_t> bytesOf(const nl_addr* address) {
    if (address == nullptr) {
        return {};
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(::nl_addr_get_binary_addr(address));
    return {bytes, bytes + ::nl_addr_get_len(address)};
}

NetworkInterface interfaceOf(rtnl_link* link, CInterfaceControl& control) {
    NetworkInterface interface;
    interface.linkState = linkStateOf(::rtnl_link_get_operstate(link), ::rtnl_link_get_flags(link));
    interface.mac = bytesOf(::rtnl_link_get_addr(link));
    interface.type = interfaceTypeOf(::rtnl_link_get_arptype(link), interface.mac);
    if (const char* const name = ::rtnl_link_get_name(link); name != nullptr) {
        interface.speed = linkSpeedOf(control, name);
    }
    return interface;
}

struct KernelAddress {
    IpAddress ip;
    unsigned flags = 0;  // IFA_F_
    unsigned scope = 0;  // RT_SCOPE_
};
using AddressesByIndex = std::map<int, std::vector<KernelAddress>>;

AddressesByIndex readAddresses(const NetlinkSocket& socket) {
    nl_cache* raw = nullptr;
    requireNetlink(::rtnl_addr_alloc_cache(socket.get(), &raw), "cannot read IP addresses");
    const NetlinkCache cache(raw);
    AddressesByIndex addresses;
    forEach<rtnl_addr>(cache, [&addresses](rtnl_addr* address) {
        const int family = ::rtnl_addr_get_family(address);
        if (family == AF_INET || family == AF_INET6) {
            addresses[::rtnl_addr_get_ifindex(address)].push_back(
                {IpAddress(bytesOf(::rtnl_addr_get_local(address))), ::rtnl_addr_get_flags(address),
                 static_cast<unsigned>(::rtnl_addr_get_scope(address))});
        }
    });
    return addresses;
}

bool isTransient(const KernelAddress& address) noexcept {
    // For IPv4 the bit of IFA_F_TEMPORARY marks a secondary address of a network.
    const bool temporary =
        address.ip.size() == IpAddress::longSize && (address.flags & IFA_F_TEMPORARY) != 0;
    return temporary || (address.flags & IFA_F_PERMANENT) == 0;
}

// Leaves out addresses whose check for duplicates has not ended or has failed. Addresses that are
// valid beyond the link come first; otherwise the order stays.
std::vector<InterfaceAddress> usableAddresses(const std::vector<KernelAddress>& addresses) {
    std::vector<InterfaceAddress> result;
    for (const bool onLink : {false, true}) {
        for (const KernelAddress& address : addresses) {
            const bool usable = (address.flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) == 0;
            if (usable && (address.scope >= RT_SCOPE_LINK) == onLink) {
                result.push_back({address.ip, isTransient(address)});
            }
        }
    }
    return result;
}

}  // namespace

void FreeNetlinkSocket::operator()(nl_sock* socket) const noexcept {
    ::nl_socket_free(socket);
}

NetlinkSocket openRouteSocket() {
    NetlinkSocket socket(::nl_socket_alloc());
    if (!socket) {
        throw std::bad_alloc();
    }
    requireNetlink(::nl_connect(socket.get(), NETLINK_ROUTE),
                   "cannot ask the kernel about network interfaces");
    return socket;
}

void requireNetlink(int result, const std::string& what) {
    if (result < 0) {
        throw CHostError(what + ": " + ::nl_geterror(result));
    }
}

NetworkSnapshot CKernelNetwork::Take() {
    const NetlinkSocket socket = openRouteSocket();
    nl_cache* raw = nullptr;
    requireNetlink(::rtnl_link_alloc_cache(socket.get(), AF_UNSPEC, &raw),
                   "cannot read network interfaces");
    const NetlinkCache cache(raw);
    CSocketControl control;
    std::map<int, NetworkInterface> byIndex;
    forEach<rtnl_link>(cache, [&](rtnl_link* link) {
        byIndex.emplace(::rtnl_link_get_ifindex(link), interfaceOf(link, control));
    });
    const AddressesByIndex addresses = readAddresses(socket);
    NetworkSnapshot snapshot;
    for (auto& [index, interface] : byIndex) {
        if (const auto found = addresses.find(index); found != addresses.end()) {
            interface.addresses = usableAddresses(found->second);
        }
        snapshot.push_back(std::move(interface));
    }
    return snapshot;
}

}  // namespace em_pni
