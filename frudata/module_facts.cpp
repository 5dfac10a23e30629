#include "frudata/module_facts.h"

namespace em_pni {
namespace {

using Area = layout::PNI_MODULE_AREA;

ModuleTechnology moduleTechnologyOf(FunctionTechnology technology) noexcept {
    switch (technology) {
        case FunctionTechnology::nic:
        case FunctionTechnology::fcoe:
        case FunctionTechnology::iscsi:
        case FunctionTechnology::roce:
            return ModuleTechnology::eth;
        case FunctionTechnology::fc:
            return ModuleTechnology::fc;
        case FunctionTechnology::ib:
            return ModuleTechnology::ib;
        case FunctionTechnology::sas:
            return ModuleTechnology::sas;
        case FunctionTechnology::unknown:
            break;
    }
    return ModuleTechnology::none;
}

std::optional<CPniPortFunction> firstFunction(CRecordCursor atModule) noexcept {
    const bool isFound = forEachFunction(atModule, [](const CRecordCursor&) { return true; });
    return isFound ? std::optional(atModule.Function()) : std::nullopt;
}

}  // namespace

ModuleTechnology moduleTechnology(const CRecordCursor& atModule) noexcept {
    if (atModule.FormatVersion() >= layout::OEM_PNI_MULTIRECORD_HEADER::firstVersionWithCodes) {
        const CByteView header = atModule.ModuleHeader();
        return header.Has(Area::moduleTypeCode, 1)
                   ? static_cast<ModuleTechnology>(header.U8(Area::moduleTypeCode))
                   : ModuleTechnology::none;
    }
    const auto function = firstFunction(atModule);
    return function ? moduleTechnologyOf(function->Technology()) : ModuleTechnology::none;
}

ModuleFacts moduleFacts(const CRecordCursor& atModule) noexcept {
    const CByteView header = atModule.ModuleHeader();
    ModuleFacts facts{.index = atModule.Module().position,
                      .moduleId = atModule.Module().moduleId,
                      .headerSize = header.Size(),
                      .technology = moduleTechnology(atModule),
                      .type = ModuleType::unknown,
                      .pciAddress = std::nullopt};
    if (header.Has(Area::moduleType, 1)) {
        facts.type = static_cast<ModuleType>(header.U8(Area::moduleType));
    }
    if (const auto function = firstFunction(atModule)) {
        if (const auto packed = function->U32(layout::PNI_PORT_FUNCTION::pciAddress)) {
            facts.pciAddress = PciAddress::FromPacked(*packed);
        }
    }
    return facts;
}

}  // namespace em_pni
