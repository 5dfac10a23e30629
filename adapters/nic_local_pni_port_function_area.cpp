#include "adapters/function_specific_area.h"
#include "adapters/local_pni_port_function_area.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

struct SpeedUnit {
    std::uint16_t code;
    std::uint64_t kbitPerSecond;
    const char* text;
};

// The largest unit that is not larger than the speed, else the smallest one.
const SpeedUnit& unitOf(std::uint64_t kbitPerSecond) noexcept {
    static constexpr SpeedUnit units[] = {
        {2, 10'000'000, "* 10Gbit/s"},
        {1, 1'000'000, "Gbit/s"},
        {0, 1'000, "Mbit/s"},
    };
    const SpeedUnit* unit = units;
    while (unit->code > 0 && kbitPerSecond < unit->kbitPerSecond) {
        ++unit;
    }
    return *unit;
}

}  // namespace

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
    // Do not ask without an address: the context would answer for interface 0.
    const MacAddress& mac = adapter_.Facts().activeMac;
    const std::uint64_t speed = mac.IsEmpty() ? 0 : context_->GetNetInterfaceSpeed(mac);
    if (speed == 0) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniPortFunctionArea::GetSpeed() : ERROR! Invalid speed "
                  "received.");
        return 0;
    }
    const SpeedUnit& unit = unitOf(speed);
    const std::uint64_t magnitude = speed / unit.kbitPerSecond;
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortFunctionArea::GetSpeed() : Speed : %llu %s",
              static_cast<unsigned long long>(magnitude), unit.text);
    return static_cast<std::uint16_t>(std::uint64_t{unit.code} << 14U | (magnitude & 0x3FFFU));
}

std::vector<std::uint8_t> NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() const {
    const MacAddress& mac = adapter_.Facts().activeMac;
    return nicSpecificArea(
        adapter_.Facts(), mac.IsEmpty() ? std::vector<IpAddress>() : context_->GetIpAddresses(mac));
}

}  // namespace em_pni
