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
#include "platform/pci_address.h"

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

using AddressesByIndex = std::map<int, std::vector<InterfaceAddress>>;

InterfaceAddress addressOf(rtnl_addr* address) {
    InterfaceAddress result;
    result.ip = IpAddress(bytesOf(::rtnl_addr_get_local(address)));
    const unsigned flags = ::rtnl_addr_get_flags(address);
    result.linkLocal = ::rtnl_addr_get_scope(address) >= RT_SCOPE_LINK;
    result.deprecated = (flags & IFA_F_DEPRECATED) != 0;
    // For IPv4 the bit of IFA_F_TEMPORARY marks a secondary address of a network.
    if (result.ip.size() == IpAddress::longSize && (flags & IFA_F_TEMPORARY) != 0) {
        result.lifetime = Lifetime::temporary;
    } else if ((flags & IFA_F_PERMANENT) == 0) {
        result.lifetime = Lifetime::dynamic;
    }
    return result;
}

// Leaves out addresses whose check for duplicates has not ended or has failed.
AddressesByIndex readAddresses(const NetlinkSocket& socket) {
    nl_cache* raw = nullptr;
    requireNetlink(::rtnl_addr_alloc_cache(socket.get(), &raw), "cannot read IP addresses");
    const NetlinkCache cache(raw);
    AddressesByIndex addresses;
    forEach<rtnl_addr>(cache, [&addresses](rtnl_addr* address) {
        const int family = ::rtnl_addr_get_family(address);
        const bool usable =
            (::rtnl_addr_get_flags(address) & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) == 0;
        if (usable && (family == AF_INET || family == AF_INET6)) {
            addresses[::rtnl_addr_get_ifindex(address)].push_back(addressOf(address));
        }
    });
    return addresses;
}

bool hasPciDevice(const CFileTree& files, const char* name) {
    const auto link =
        name != nullptr ? files.ReadLink(joinedPath({"sys/class/net", name})) : std::nullopt;
    return link && pciAddressOfPath(*link);
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

NetworkSnapshot readNetwork(const NetlinkSocket& socket, const CFileTree& files,
                            CInterfaceControl& control) {
    nl_cache* raw = nullptr;
    requireNetlink(::rtnl_link_alloc_cache(socket.get(), AF_UNSPEC, &raw),
                   "cannot read network interfaces");
    const NetlinkCache cache(raw);
    std::map<std::pair<bool, int>, NetworkInterface> interfaces;  // by hasPciDevice and index
    forEach<rtnl_link>(cache, [&](rtnl_link* link) {
        interfaces.emplace(std::pair(hasPciDevice(files, ::rtnl_link_get_name(link)),
                                     ::rtnl_link_get_ifindex(link)),
                           interfaceOf(link, control));
    });
    const AddressesByIndex addresses = readAddresses(socket);
    NetworkSnapshot snapshot;
    for (auto& [key, interface] : interfaces) {
        if (const auto found = addresses.find(key.second); found != addresses.end()) {
            interface.addresses = listAddresses(found->second);
        }
        snapshot.push_back(std::move(interface));
    }
    return snapshot;
}

NetworkSnapshot CKernelNetwork::Take() {
    CSocketControl control;
    return readNetwork(openRouteSocket(), files_, control);
}

}  // namespace em_pni
