// The requests to the host about the machine's network interfaces. Interfaces are numbered from 0.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "module/krcp_connection.h"

namespace em_pni {

template <class Value>
struct NetworkReply {
    // Whether the command of the reply has a status or data. False after a time-out.
    bool answered = false;
    std::uint32_t status = krcp::REQUEST_PENDING;
    // Present when the reply succeeded and its data have the right type. Bytes may have any length.
    std::optional<Value> value;
};

using NumberReply = NetworkReply<std::uint64_t>;
using BytesReply = NetworkReply<std::vector<std::uint8_t>>;

// Every request blocks its caller for at most 5 seconds. No reply of the host causes an exception;
// std::bad_alloc is the only one. May be used by one thread at a time.
class CNetworkRequests {
  public:
    // A request for an address has 16 bits for the interface. A larger count is not accepted.
    static constexpr std::uint32_t maxInterfaces = 0x10000;

    // `connection` must outlive this object. A null connection answers nothing.
    CNetworkRequests(CKrcpConnection* connection, std::int32_t cabinet) noexcept
        : connection_(connection), cabinet_(cabinet) {}

    [[nodiscard]] bool HasConnection() const noexcept { return connection_ != nullptr; }

    [[nodiscard]] NetworkReply<std::uint32_t> InterfaceCount() const;
    [[nodiscard]] NumberReply InterfaceType(std::uint32_t interface) const;
    // The bytes are in network order.
    [[nodiscard]] BytesReply MacAddress(std::uint32_t interface) const;
    // The bytes are in network order. `index` counts the addresses of one kind from 0. `interface`
    // must be below maxInterfaces. A reply without bytes has no value.
    [[nodiscard]] BytesReply IpAddress(krcp::IpAddressKind kind, std::uint32_t index,
                                       std::uint32_t interface) const;
    [[nodiscard]] NumberReply LinkState(std::uint32_t interface) const;
    // In kbit/s.
    [[nodiscard]] NumberReply LinkSpeed(std::uint32_t interface) const;

  private:
    [[nodiscard]] CKrcpMessage Ask(std::uint16_t opcode, std::uint16_t extension,
                                   std::uint32_t object) const;
    [[nodiscard]] NumberReply AskNumber(std::uint16_t opcode, std::uint32_t object) const;
    [[nodiscard]] BytesReply AskBytes(std::uint16_t opcode, std::uint16_t extension,
                                      std::uint32_t object) const;

    CKrcpConnection* connection_;
    std::int32_t cabinet_;
};

// "primary", "transient" or "any", for the trace.
const char* nameOf(krcp::IpAddressKind kind) noexcept;

}  // namespace em_pni
