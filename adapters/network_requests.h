// The questions that the host answers about the machine's network interfaces, which it numbers from
// 0.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "module/krcp_connection.h"

namespace em_pni {

template <class Value>
struct NetworkReply {
    // Whether the host wrote anything: not when the time was over or the document is lost.
    bool answered = false;
    std::uint32_t status = krcp::REQUEST_PENDING;
    // Only of a successful reply with data of the right type; bytes may be of any number.
    std::optional<Value> value;
};

using NumberReply = NetworkReply<std::uint64_t>;
using BytesReply = NetworkReply<std::vector<std::uint8_t>>;

// Every request blocks its caller for at most 5 seconds. Nothing throws except for lack of memory,
// whatever the host sends. Belongs to one thread at a time.
class CNetworkRequests {
  public:
    enum class IpAddressKind : std::uint16_t {
        any = krcp::anyAddress,
        primary = krcp::primaryAddress,
        transient = krcp::transientAddress,
    };

    // Questions about addresses have 16 bits for the interface; a larger count is no answer.
    static constexpr std::uint32_t maxInterfaces = 0x10000;

    // `connection` must outlive this object. Without one, and null is none, nothing is answered.
    CNetworkRequests(CKrcpConnection* connection, std::int32_t cabinet) noexcept
        : connection_(connection), cabinet_(cabinet) {}

    [[nodiscard]] bool HasConnection() const noexcept { return connection_ != nullptr; }

    [[nodiscard]] NetworkReply<std::uint32_t> InterfaceCount() const;
    [[nodiscard]] NumberReply InterfaceType(std::uint32_t interface) const;
    // In network order.
    [[nodiscard]] BytesReply MacAddress(std::uint32_t interface) const;
    // In network order. `index` counts the addresses of one kind, `interface` is below
    // maxInterfaces. An answer without a single byte is none.
    [[nodiscard]] BytesReply IpAddress(IpAddressKind kind, std::uint32_t index,
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

// "primary", "transient" or "any", for traces.
const char* nameOf(CNetworkRequests::IpAddressKind kind) noexcept;

}  // namespace em_pni
