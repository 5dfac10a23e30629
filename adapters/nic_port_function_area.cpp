#include "adapters/function_specific_area.h"
#include "adapters/link_speed.h"
#include "adapters/local_pni_port_function_area.h"
#include "platform/trace.h"

namespace em_pni {

PhysicalAddress NIC_LocalPniPortFunctionArea::GetPhysicalAddress() const {
    PhysicalAddress address;
    address.mac = adapter_.Facts().permanentMac;
    if (address.mac.IsEmpty()) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniPortFunctionArea::GetPhysicalAddress() : ERROR! Could not "
                  "get MAC Address!");
    }
    return address;
}

std::uint16_t NIC_LocalPniPortFunctionArea::GetSpeed() const {
    // Without an address the host would answer for its first interface.
    const MacAddress& mac = adapter_.Facts().activeMac;
    const std::uint64_t speed = mac.IsEmpty() ? 0 : context_->GetNetInterfaceSpeed(mac);
    if (speed == 0) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniPortFunctionArea::GetSpeed() : ERROR! Invalid speed "
                  "received.");
        return 0;
    }
    const LinkSpeedUnit& unit = linkSpeedUnit(speed);
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortFunctionArea::GetSpeed() : Speed : %llu %s",
              static_cast<unsigned long long>(speed / unit.kbitPerSecond), unit.text);
    return encodeLinkSpeed(speed);
}

std::vector<std::uint8_t> NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() const {
    const MacAddress& mac = adapter_.Facts().activeMac;
    return nicSpecificArea(
        adapter_.Facts(), mac.IsEmpty() ? std::vector<IpAddress>() : context_->GetIpAddresses(mac));
}

}  // namespace em_pni
