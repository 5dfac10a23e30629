#include "adapters/local_pni_module_area.h"

#include <algorithm>

#include "platform/trace.h"

namespace em_pni {

LocalPniModuleArea::~LocalPniModuleArea() {
    PNI_TRACE(5, "\nEM_PNI LocalPniModuleArea::Dtor() : Start.");
    PNI_TRACE(5, "\nEM_PNI LocalPniModuleArea::Dtor() : Done.");
}

template <class Technology>
LocalPniModuleAreaOf<Technology>::~LocalPniModuleAreaOf() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniModuleArea::Dtor() : Start.", Technology::prefix);
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniModuleArea::Dtor() : Done.", Technology::prefix);
}

template <class Technology>
ModuleType LocalPniModuleAreaOf<Technology>::GetModuleType() const {
    std::uint32_t slot = 0;
    if (!GetAdapterSlotNo(slot)) {
        return ModuleType::unknown;
    }
    return slot == 0 ? ModuleType::onboard : ModuleType::pciAddIn;
}

template <class Technology>
bool LocalPniModuleAreaOf<Technology>::GetAdapterSlotNo(std::uint32_t& slot) const {
    const auto found = std::find_if(
        functions_->begin(), functions_->end(),
        [](const auto& function) { return function.second.Facts().slot != unknownSlot; });
    if (found == functions_->end()) {
        PNI_TRACE(2,
                  "\nEM_PNI %s_LocalPniModuleArea::GetAdapterSlotNo() : WARNGING - Could not get "
                  "PCI Slot No.",
                  Technology::prefix);
        return false;
    }
    slot = found->second.Facts().slot;
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniModuleArea::GetAdapterSlotNo() : SlotNo : %u for device '%s'",
              Technology::prefix, slot, found->second.Names().device.c_str());
    return true;
}

template <class Technology>
std::unique_ptr<LocalPniModuleArea> LocalPniModuleAreaOf<Technology>::Clone() const {
    return std::make_unique<LocalPniModuleAreaOf>(*this);
}

template <class Technology>
std::string LocalPniModuleAreaOf<Technology>::GetModuleName() const {
    switch (GetModuleType()) {
        case ModuleType::onboard:
            return "Onboard LAN";
        case ModuleType::pciAddIn:
            return "LAN PCI Card";
        default:
            return "LAN";
    }
}

template <class Technology>
void LocalPniModuleAreaOf<Technology>::Attach(const Functions& functions,
                                              Context context) noexcept {
    functions_ = &functions;
    context_ = context;
}

template class LocalPniModuleAreaOf<NicTechnology>;
template class LocalPniModuleAreaOf<FcTechnology>;

}  // namespace em_pni
