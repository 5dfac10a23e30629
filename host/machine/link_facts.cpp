#include "host/machine/link_facts.h"

#include <algorithm>
#include <linux/if.h>
#include <linux/if_arp.h>

#include "host/machine/network_snapshot.h"

namespace em_pni {

std::uint32_t interfaceTypeOf(unsigned hardwareType, std::span<const std::uint8_t> mac) noexcept {
    enum IfType : std::uint32_t {
        other = 1,
        softwareLoopback = 24,
        tunnel = 131,
        infiniband = 199
    };
    const bool hasAddress =
        std::any_of(mac.begin(), mac.end(), [](std::uint8_t byte) { return byte != 0; });
    switch (hardwareType) {
        case ARPHRD_ETHER:
            return hasAddress ? NetworkInterface::ethernet : std::uint32_t{other};
        case ARPHRD_LOOPBACK:
            return softwareLoopback;
        case ARPHRD_INFINIBAND:
            return infiniband;
        case ARPHRD_TUNNEL:
        case ARPHRD_TUNNEL6:
        case ARPHRD_SIT:
        case ARPHRD_IPGRE:
        case ARPHRD_IP6GRE:
            return tunnel;
        default:
            return other;
    }
}

std::uint32_t linkStateOf(unsigned operationalState, unsigned flags) noexcept {
    enum IfOperStatus : std::uint32_t {
        down = 2,
        testing = 3,
        unknown = 4,
        dormant = 5,
        notPresent = 6,
        lowerLayerDown = 7
    };
    constexpr unsigned working = IFF_UP | IFF_LOWER_UP;
    switch (operationalState) {
        case IF_OPER_UP:
            return NetworkInterface::up;
        case IF_OPER_DOWN:
            return down;
        case IF_OPER_TESTING:
            return testing;
        case IF_OPER_DORMANT:
            return dormant;
        case IF_OPER_NOTPRESENT:
            return notPresent;
        case IF_OPER_LOWERLAYERDOWN:
            return lowerLayerDown;
        default:
            return (flags & working) == working ? NetworkInterface::up : unknown;
    }
}

}  // namespace em_pni
