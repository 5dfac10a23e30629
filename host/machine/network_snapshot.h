// The network interfaces of the machine at one moment, as the host reports them to a module.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/machine/address_lists.h"

namespace em_pni {

struct NetworkInterface {
    std::uint32_t type = 0;              // krcp::ethernetType, else ifType of the MIB
    std::uint32_t linkState = 0;         // krcp::linkIsUp, else ifOperStatus of the MIB
    std::vector<std::uint8_t> mac;       // the active one; empty = no address
    std::optional<std::uint64_t> speed;  // kbit/s
    AddressLists addresses;
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
