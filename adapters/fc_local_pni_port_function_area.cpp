#include "adapters/function_specific_area.h"
#include "adapters/local_pni_port_function_area.h"
#include "frudata/address_text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

WorldWideName foundName(WorldWideName name, const char* operation, const char* kind) {
    if (name == 0) {
        PNI_TRACE(2,
                  "\nEM_PNI FC_LocalPniPortFunctionArea::%s() : ERROR! Could not get %s Address!",
                  operation, kind);
        return name;
    }
    PNI_TRACE(5, "\nEM_PNI FC_LocalPniPortFunctionArea::%s() : Found %s Address %s!", operation,
              kind, worldwideNameText(name).c_str());
    return name;
}

}  // namespace

PhysicalAddress FC_LocalPniPortFunctionArea::GetPhysicalAddress() const {
    PhysicalAddress address;
    address.kind = PhysicalAddress::Kind::wwn;
    address.wwpn = GetActivePortWWNAddress();
    address.wwnn = GetActiveNodeWWNAddress();
    return address;
}

WorldWideName FC_LocalPniPortFunctionArea::GetActivePortWWNAddress() const {
    return foundName(adapter_.Facts().portName, "GetActivePortWWNAddress", "WWPN");
}

WorldWideName FC_LocalPniPortFunctionArea::GetActiveNodeWWNAddress() const {
    return foundName(adapter_.Facts().nodeName, "GetActiveNodeWWNAddress", "WWNN");
}

std::string FC_LocalPniPortFunctionArea::GetActivePortWWNAddressAscii() const {
    return hexPairs(worldwideNameBytes(GetActivePortWWNAddress()), "");
}

std::string FC_LocalPniPortFunctionArea::GetActiveNodeWWNAddressAscii() const {
    return hexPairs(worldwideNameBytes(GetActiveNodeWWNAddress()), "");
}

std::vector<std::uint8_t> FC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() const {
    return fcSpecificArea(GetActiveNodeWWNAddressAscii(), GetActivePortWWNAddressAscii(),
                          adapter_.Facts().optionRom);
}

}  // namespace em_pni
