// Finds the host's network interface of a MAC address. The machine knows its network functions by
// MAC address; the host knows its interfaces by number.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "adapters/network_requests.h"
#include "platform/address.h"

namespace em_pni {

// The host's Ethernet interfaces at one moment.
struct HostInterfaces {
    std::map<MacAddress, std::uint32_t> numbers;
    std::uint32_t count = 0;  // of all interfaces, also of those that are not Ethernet
};

// What the first context of a collection of adapters has read. The others use it, so the number of
// requests does not grow with adapters times interfaces.
struct SharedHostInterfaces {
    std::shared_ptr<const HostInterfaces> latest;  // null until a context has read them
};

// The host did not answer, or answered without data.
class CNoReplyError final : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// May be used by one thread at a time. Every function may ask the host and wait for it. The quoted
// texts are those of the std::runtime_error that a function throws, "No reply data" of a
// CNoReplyError.
class NetInterfaceConnectionContext {
  public:
    // `connection` must outlive this object. A null connection answers nothing. The first Refresh
    // takes what `shared` holds, unless the number of interfaces has changed since.
    NetInterfaceConnectionContext(CKrcpConnection* connection, std::int32_t cabinet,
                                  std::shared_ptr<SharedHostInterfaces> shared = nullptr) noexcept
        : requests_(connection, cabinet), shared_(std::move(shared)) {}

    // "NetInterfaceConnectionContext::FetchInterfaceCount() : No reply data from SIP!"
    [[nodiscard]] std::uint32_t FetchInterfaceCount() const;
    // "NetInterfaceConnectionContext::IsEthernetInterface() : No reply data from SIP!", when there
    // is no reply at all. Returns false when the host replies with an error.
    [[nodiscard]] bool IsEthernetInterface(std::uint32_t interface) const;
    // Reads the map of interfaces again. Returns true. Throws the exceptions of the two functions
    // above, "NetInterfaceConnectionContext::Refresh() : No reply data from SIP!" and
    // "NetInterfaceConnectionContext::Refresh() : Invalid MAC received!". After an exception the
    // map is empty, so the next Check reads it again.
    bool Refresh();

    // Reads the map again when it is empty or the number of interfaces has changed. Does not notice
    // a MAC that changes while the number of interfaces stays the same. Returns true. Throws the
    // exceptions of Refresh, and std::logic_error without a connection.
    bool Check();

    // Returns all primary addresses of the interface with this MAC, and at most one more address
    // for each family without a primary one. Asks for interface 0 when no interface has this MAC. A
    // bad reply is not an exception. Throws std::logic_error without a connection.
    std::vector<IpAddress> GetIpAddresses(const MacAddress& mac);
    // In kbit/s; 0 = not known. Finds the interface in the same way, throws the same exception.
    std::uint64_t GetNetInterfaceSpeed(const MacAddress& mac);

  private:
    struct FoundAddresses;
    [[nodiscard]] MacAddress FetchMacAddress(std::uint32_t interface) const;
    [[nodiscard]] std::shared_ptr<const HostInterfaces> ReadInterfaces(std::uint32_t count) const;
    [[nodiscard]] std::uint32_t InterfaceOf(const MacAddress& mac) const;
    [[nodiscard]] bool IsCurrent();
    [[nodiscard]] BytesReply RequestIpAddress(krcp::IpAddressKind kind, std::uint32_t index,
                                              std::uint32_t interface) const;
    void AddPrimary(std::uint32_t interface, FoundAddresses& found) const;
    void AddMissing(krcp::IpAddressKind kind, std::uint32_t count, std::uint32_t interface,
                    FoundAddresses& found) const;

    CNetworkRequests requests_;
    std::shared_ptr<const HostInterfaces> interfaces_;  // of the last Refresh; null = not read
    std::shared_ptr<SharedHostInterfaces> shared_;      // null after the first Refresh
};

}  // namespace em_pni
