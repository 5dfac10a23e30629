// The network interfaces of this machine, read from the kernel through netlink.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "devscan/file_tree.h"
#include "host/machine/network_snapshot.h"

struct nl_sock;

namespace em_pni {

class CInterfaceControl;

struct FreeNetlinkSocket {
    void operator()(nl_sock* socket) const noexcept;
};
using NetlinkSocket = std::unique_ptr<nl_sock, FreeNetlinkSocket>;

// Connected to the kernel's routing family, in the network namespace of the calling thread. Throws
// a CHostError.
NetlinkSocket openRouteSocket();

// Throws a CHostError "<what>: <libnl's text>" when the result of a libnl call is an error.
void requireNetlink(int result, const std::string& what);

// The interfaces in the order of their kernel indexes. Interfaces with a PCI device come last: a
// module keeps what it hears last for a MAC address, so the addresses of a card count more than
// those of a VLAN, bond or bridge with the same MAC address. Asks through `socket`, whose answers
// may be any bytes. Throws a CHostError.
NetworkSnapshot readNetwork(const NetlinkSocket& socket, const CFileTree& files,
                            CInterfaceControl& control);

// Reads the network namespace of the calling thread.
class CKernelNetwork final : public CINetworkView {
  public:
    // `root` is the directory above sys. "" = the root of this machine.
    explicit CKernelNetwork(std::string root = "") : files_(std::move(root)) {}

    NetworkSnapshot Take() override;

  private:
    CFileTree files_;
};

}  // namespace em_pni
