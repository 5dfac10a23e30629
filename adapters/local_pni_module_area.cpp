#include "adapters/local_pni_module_area.h"

#include <algorithm>

#include "adapters/area_fields.h"

namespace em_pni {

LocalPniModuleArea::~LocalPniModuleArea() {
    PNI_TRACE(5, "\nEM_PNI LocalPniModuleArea::Dtor() : Start.");
    PNI_TRACE(5, "\nEM_PNI LocalPniModuleArea::Dtor() : Done.");
}

std::vector<std::uint8_t> LocalPniModuleArea::ToPniFruDataModule() const {
    using Module = layout::PNI_MODULE_AREA;
    std::vector<std::uint8_t> bytes(Module::size);
    CByteEditor area(bytes);
    std::uint32_t slot = 0;
    GetAdapterSlotNo(slot);
    area.PutU8(Module::flags, areaFlags(slot, layout::moduleIdMask, IsEnabled(), false));
    area.PutU8(Module::recordLen, Module::size);
    area.PutU8(Module::portCount, static_cast<std::uint8_t>(GetPortCount()));
    putAreaText(area, Module::name, Module::nameSize, GetModuleName(), "module name");
    area.PutU8(Module::moduleTypeCode, static_cast<std::uint8_t>(GetModuleTypeCode()));
    area.PutU8(Module::moduleType, static_cast<std::uint8_t>(GetModuleType()));
    putAreaText(area, Module::firmwareVersion, Module::firmwareVersionSize, GetFirmwareVersion(),
                "firmware version");
    return bytes;
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
    const auto& functions = device_->Functions();
    const auto found = std::find_if(functions.begin(), functions.end(), [](const auto& function) {
        return function.second.Facts().slot != unknownSlot;
    });
    if (found == functions.end()) {
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

template class LocalPniModuleAreaOf<NicTechnology>;
template class LocalPniModuleAreaOf<FcTechnology>;

}  // namespace em_pni
