// The machine's network interfaces at one moment, as the host tells them to a module.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace em_pni {

struct IpAddress {
    std::vector<std::uint8_t> bytes;  // network order; 4 bytes IPv4, 16 bytes IPv6
    bool transient = false;           // given for a time, else one of the interface's own

    friend bool operator==(const IpAddress&, const IpAddress&) = default;
};

struct NetworkInterface {
    static constexpr std::uint32_t ethernet = 6;
    static constexpr std::uint32_t up = 1;

    std::uint32_t type = 0;              // as in ifType of the interfaces MIB
    std::uint32_t linkState = 0;         // as in its ifOperStatus
    std::vector<std::uint8_t> mac;       // the current one; empty = the interface has none
    std::optional<std::uint64_t> speed;  // kbit/s
    std::vector<IpAddress> addresses;    // in the order in which they are told
};

// The position is the interface's number.
using NetworkSnapshot = std::vector<NetworkInterface>;

class CINetworkView {
  public:
    // Throws a CHostError when the machine does not tell.
    virtual NetworkSnapshot Take() = 0;

  protected:
    ~CINetworkView() = default;
};

}  // namespace em_pni
