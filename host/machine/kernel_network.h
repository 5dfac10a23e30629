// The network interfaces of this machine, read from the kernel through netlink.
#pragma once

#include <memory>
#include <string>

#include "host/machine/network_snapshot.h"

struct nl_sock;

namespace em_pni {

struct FreeNetlinkSocket {
    void operator()(nl_sock* socket) const noexcept;
};
using NetlinkSocket = std::unique_ptr<nl_sock, FreeNetlinkSocket>;

// Connected to the kernel's routing family, in the network namespace of the calling thread. Throws
// a CHostError.
NetlinkSocket openRouteSocket();

// Throws a CHostError "<what>: <libnl's text>" when the result of a libnl call is an error.
void requireNetlink(int result, const std::string& what);

// Reads the network namespace of the calling thread.
class CKernelNetwork final : public CINetworkView {
  public:
    // The interfaces in the order of their kernel indexes.
    NetworkSnapshot Take() override;
};

}  // namespace em_pni
