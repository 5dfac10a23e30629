// The machine's network interfaces at one moment, as the host tells them to a module.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/address.h"

namespace em_pni {

struct InterfaceAddress {
    IpAddress ip;
    bool transient = false;  // a temporary address, else one of the interface's own

    friend bool operator==(const InterfaceAddress&, const InterfaceAddress&) = default;
};

struct NetworkInterface {
    std::uint32_t type = 0;                   // as krcp::ethernetType
    std::uint32_t linkState = 0;              // as krcp::linkIsUp
    std::vector<std::uint8_t> mac;            // the current one; empty = the interface has none
    std::optional<std::uint64_t> speed;       // kbit/s
    std::vector<InterfaceAddress> addresses;  // in the order in which they are told
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
