// The network interfaces of the machine at one moment, as the host reports them to a module.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/address.h"

namespace em_pni {

struct InterfaceAddress {
    IpAddress ip;
    bool transient = false;  // from DHCP, or a temporary IPv6 address
};

struct NetworkInterface {
    static constexpr std::uint32_t ethernet = 6;
    static constexpr std::uint32_t up = 1;

    std::uint32_t type = 0;                   // ifType of the interfaces MIB
    std::uint32_t linkState = 0;              // ifOperStatus of the interfaces MIB
    std::vector<std::uint8_t> mac;            // the active one; empty = no address
    std::optional<std::uint64_t> speed;       // kbit/s
    std::vector<InterfaceAddress> addresses;  // in the order of the answers
};

// The position is the number of the interface.
using NetworkSnapshot = std::vector<NetworkInterface>;

class CINetworkView {
  public:
    // Throws a CHostError when the interfaces cannot be read.
    virtual NetworkSnapshot Take() = 0;

  protected:
    ~CINetworkView() = default;
};

}  // namespace em_pni
