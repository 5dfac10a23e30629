// The bridge between the machine's network functions, known by MAC address, and the host's network
// interfaces, known by number.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "adapters/network_requests.h"
#include "platform/address.h"

namespace em_pni {

// The host's Ethernet interfaces at one moment.
struct HostInterfaces {
    std::map<MacAddress, std::uint32_t> numbers;
    std::uint32_t count = 0;  // of all interfaces
};

// What contexts made for one collection of adapters hand on to each other: asking about every
// interface once for each adapter would take requests by the product of both.
struct SharedHostInterfaces {
    std::shared_ptr<const HostInterfaces> latest;  // null until a context has read them
};

// A value: a copy goes on from the same map and asks over the same connection. Belongs to one
// thread at a time. Every operation may ask the host and wait for it. The quoted texts are of the
// std::runtime_error that the operation throws.
class NetInterfaceConnectionContext {
  public:
    // `connection` must outlive all copies; null means that there is none. The first Refresh takes
    // what is shared, when the host still has as many interfaces.
    NetInterfaceConnectionContext(CKrcpConnection* connection, std::int32_t cabinet,
                                  std::shared_ptr<SharedHostInterfaces> shared = nullptr) noexcept
        : requests_(connection, cabinet), shared_(std::move(shared)) {}

    // "NetInterfaceConnectionContext::FetchInterfaceCount() : No reply data from SIP!"
    [[nodiscard]] std::uint32_t FetchInterfaceCount() const;
    // "NetInterfaceConnectionContext::IsEthernetInterface() : No reply data from SIP!", but only
    // when there is no reply at all: an interface whose type the host refuses to tell is none.
    [[nodiscard]] bool IsEthernetInterface(std::uint32_t interface) const;
    // Reads the map anew. Throws what the two above throw, the same of its own, and
    // "NetInterfaceConnectionContext::Refresh() : Invalid MAC received!". After an exception the
    // map is empty, so that the next Check tries again.
    bool Refresh();

    // Reads the map anew when it is empty or the host has another number of interfaces now; a MAC
    // that changes while the number stays is not noticed. Throws as Refresh does, and
    // std::logic_error without a connection.
    bool Check();

    // The addresses of the interface with this MAC, or of interface 0 when no interface has it: all
    // primary ones, and at most one more of a family that they lack. No exception for a bad reply.
    std::vector<IpAddress> GetIpAddresses(const MacAddress& mac);
    // In kbit/s, 0 when not known; the interface is found likewise.
    std::uint64_t GetNetInterfaceSpeed(const MacAddress& mac);

  private:
    struct FoundAddresses;
    [[nodiscard]] MacAddress FetchMacAddress(std::uint32_t interface) const;
    [[nodiscard]] std::shared_ptr<const HostInterfaces> ReadInterfaces(std::uint32_t count) const;
    [[nodiscard]] std::uint32_t InterfaceOf(const MacAddress& mac) const;
    [[nodiscard]] bool IsCurrent();
    [[nodiscard]] BytesReply RequestIpAddress(CNetworkRequests::IpAddressKind kind,
                                              std::uint32_t index, std::uint32_t interface) const;
    void AddPrimary(std::uint32_t interface, FoundAddresses& found) const;
    void AddMissing(CNetworkRequests::IpAddressKind kind, std::uint32_t count,
                    std::uint32_t interface, FoundAddresses& found) const;

    CNetworkRequests requests_;
    std::shared_ptr<const HostInterfaces> interfaces_;  // as of the last Refresh, null = none
    std::shared_ptr<SharedHostInterfaces> shared_;      // until the first Refresh
};

}  // namespace em_pni
