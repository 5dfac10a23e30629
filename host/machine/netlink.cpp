#include "host/machine/netlink.h"

#include <linux/netlink.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <new>

#include "host/output/console.h"

namespace em_pni {

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

}  // namespace em_pni
