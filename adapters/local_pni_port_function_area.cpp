#include "adapters/local_pni_port_function_area.h"

#include "platform/trace.h"

namespace em_pni {
namespace {

// One pair of ids, and how it is called in the trace.
struct IdPair {
    std::uint16_t vendor;
    std::uint16_t device;
    const char* operation;
    const char* kind;  // before "VendorID" and "DeviceID"
};

std::uint32_t packedIds(const char* prefix, const IdPair& ids) {
    if (ids.vendor == 0 || ids.vendor == 0xFFFF) {
        PNI_TRACE(2, "\nEM_PNI %s_LocalPniPortFunctionArea::%s() : Could not get %sVendorID!",
                  prefix, ids.operation, ids.kind);
        return 0;
    }
    if (ids.device == 0) {
        PNI_TRACE(2, "\nEM_PNI %s_LocalPniPortFunctionArea::%s() : Could not get %sDeviceID!",
                  prefix, ids.operation, ids.kind);
    }
    return std::uint32_t{ids.vendor} << 16U | ids.device;
}

}  // namespace

LocalPniPortFunctionArea::~LocalPniPortFunctionArea() {
    PNI_TRACE(5, "\nEM_PNI LocalPniPortFunctionArea::Dtor() : Start.");
    PNI_TRACE(5, "\nEM_PNI LocalPniPortFunctionArea::Dtor() : Done.");
}

template <class Technology>
LocalPniPortFunctionAreaOf<Technology>::~LocalPniPortFunctionAreaOf() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortFunctionArea::Dtor() : Start.", Technology::prefix);
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortFunctionArea::Dtor() : Done.", Technology::prefix);
}

template <class Technology>
std::unique_ptr<LocalPniPortFunctionArea> LocalPniPortFunctionAreaOf<Technology>::Clone() const {
    using Area = typename Technology::PortFunctionArea;
    return std::make_unique<Area>(static_cast<const Area&>(*this));
}

template <class Technology>
std::uint32_t LocalPniPortFunctionAreaOf<Technology>::GetVendorDeviceId() const {
    const PciIds& ids = adapter_.Ids();
    return packedIds(Technology::prefix, {ids.vendor, ids.device, "GetVendorDeviceId", ""});
}

template <class Technology>
std::uint32_t LocalPniPortFunctionAreaOf<Technology>::GetSubVendorDeviceId() const {
    const PciIds ids = hasSubsystemIds(adapter_.Facts().headerType) ? adapter_.Ids() : PciIds{};
    return packedIds(Technology::prefix,
                     {ids.subVendor, ids.subDevice, "GetSubVendorDeviceId", "Sub"});
}

template <class Technology>
std::uint32_t LocalPniPortFunctionAreaOf<Technology>::GetPciPFA() const {
    const PciAddress& address = adapter_.Address();
    if (!address.IsKnown()) {
        PNI_TRACE(2,
                  "\nEM_PNI %s_LocalPniPortFunctionArea::GetPciPFA() : ERROR! Could not get PCI "
                  "Address!",
                  Technology::prefix);
        return 0;
    }
    return address.Packed();
}

template class LocalPniPortFunctionAreaOf<NicTechnology>;
template class LocalPniPortFunctionAreaOf<FcTechnology>;

}  // namespace em_pni
