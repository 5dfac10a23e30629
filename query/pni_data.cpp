#include "query/pni_data.h"

#include "frudata/layout.h"
#include "frudata/pni_fru.h"
#include "platform/trace.h"
#include "query/function_members.h"

namespace em_pni {
namespace {

constexpr std::uint8_t firstVersionWithCodes = 11;

// The technology of a module whose record has no code for it: that of its first function.
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

void addModuleText(CMemberObject& object, Member member, CImageView header, std::size_t offset,
                   std::size_t size) {
    if (object.Selects(member) && header.Has(offset, size)) {
        object.AddText(member, fieldText(header.Inside(offset, size)));
    }
}

}  // namespace

bool CPNI_Data::PniGetAllData(rapidjson::Document& result) {
    RecordFrame frame;
    if (pni_getRecordFormatVersion(image_.Data(), image_.Size(), &formatVersion_) != PNI_SUCCESS ||
        locateFrame(image_, frame) != FrameFault::none) {
        PNI_TRACE(5,
                  "CPNI_Data::PniGetAllData  Error! Failed to retrieve PNI record format version");
        return false;
    }
    CRecordCursor cursor(image_, frame);
    Allocator& allocator = result.GetAllocator();
    result.SetObject();
    result.AddMember("NumberOfModules", static_cast<unsigned>(frame.moduleCount), allocator);
    result.AddMember("Modules", GetModulesData(cursor, frame.moduleCount, allocator), allocator);
    return true;
}

bool CPNI_Data::IsDataFilterValid() const {
    if (filter_ == nullptr) {
        PNI_TRACE(5, "CPNI_Data::IsDataFilterValid  Error! Invalid data filter");
        return false;
    }
    return filter_->IsFiltered();
}

const CMemberSelection& CPNI_Data::Selection() const noexcept {
    static const CMemberSelection everything;
    return filter_ != nullptr ? filter_->Selection() : everything;
}

ModuleTechnology CPNI_Data::TechnologyOf(const CRecordCursor& cursor) const {
    using Area = layout::PNI_MODULE_AREA;
    if (formatVersion_ >= firstVersionWithCodes) {
        const CImageView header = cursor.ModuleHeader();
        return header.Has(Area::moduleTypeCode, 1)
                   ? static_cast<ModuleTechnology>(header.U8(Area::moduleTypeCode))
                   : ModuleTechnology::none;
    }
    CRecordCursor ahead = cursor;
    while (ahead.NextPort()) {
        if (ahead.NextFunction()) {
            return moduleTechnologyOf(ahead.Function().Technology());
        }
    }
    return ModuleTechnology::none;
}

bool CPNI_Data::PassesModuleFilter(const CRecordCursor& cursor) const {
    return !IsDataFilterValid() || filter_->Technology() == ModuleTechnology::none ||
           filter_->Technology() == TechnologyOf(cursor);
}

rapidjson::Value CPNI_Data::GetModulesData(CRecordCursor& cursor, unsigned count,
                                           Allocator& allocator) const {
    PNI_TRACE(5, "CPNI_Data::GetModulesData  Found [%d] modules", static_cast<int>(count));
    rapidjson::Value modules(rapidjson::kArrayType);
    for (unsigned index = 0; index < count; ++index) {
        if (!cursor.NextModule()) {
            PNI_TRACE(5, "CPNI_Data::GetModuleData  GetModuleArea for index [%d] failed",
                      static_cast<int>(index));
        } else if (!PassesModuleFilter(cursor)) {
            PNI_TRACE(5, "CPNI_Data::GetModuleData  Module with index [%d] ignored by filter",
                      static_cast<int>(index));
        } else if (rapidjson::Value module = GetModuleData(cursor, allocator); !module.IsNull()) {
            modules.PushBack(module, allocator);
        }
    }
    return modules;
}

rapidjson::Value CPNI_Data::GetModuleData(CRecordCursor& cursor, Allocator& allocator) const {
    using Area = layout::PNI_MODULE_AREA;
    const CImageView header = cursor.ModuleHeader();
    CMemberObject object(Selection(), allocator);
    object.AddAlways(Member::ModuleId, cursor.Module().moduleId);
    object.AddFlag(Member::Enabled, cursor.Module().enable);
    if (formatVersion_ >= firstVersionWithCodes && object.Selects(Member::TechnologyType) &&
        header.Has(Area::moduleTypeCode, 1)) {
        object.AddName(Member::TechnologyType,
                       moduleTechnologyName(header.U8(Area::moduleTypeCode)));
    }
    if (object.Selects(Member::ModuleType) && header.Has(Area::moduleType, 1)) {
        object.AddName(Member::ModuleType, moduleTypeName(header.U8(Area::moduleType)));
    }
    addModuleText(object, Member::ModuleName, header, Area::name, Area::nameSize);
    addModuleText(object, Member::FirmwareVersion, header, Area::firmwareVersion,
                  Area::firmwareVersionSize);
    rapidjson::Value ports = GetPortsData(cursor, allocator);
    if (!object.HasSelectedMembers() && ports.Empty()) {
        return {};
    }
    object.AddAlways("PhysicalPorts", std::move(ports));
    return object.Take();
}

rapidjson::Value CPNI_Data::GetPortsData(CRecordCursor& cursor, Allocator& allocator) const {
    rapidjson::Value ports(rapidjson::kArrayType);
    while (cursor.NextPort()) {
        CMemberObject object(Selection(), allocator);
        object.AddAlways(Member::PortId, cursor.Port().portId);
        if (object.Selects(Member::WolBehavior) && cursor.Port().wolBehaviour) {
            object.AddName(Member::WolBehavior,
                           wolBehaviorName(*cursor.Port().wolBehaviour, formatVersion_));
        }
        object.AddAlways("PhysicalFunctions", GetFunctionsData(cursor, allocator));
        ports.PushBack(object.Take(), allocator);
    }
    return ports;
}

rapidjson::Value CPNI_Data::GetFunctionsData(CRecordCursor& cursor, Allocator& allocator) const {
    rapidjson::Value functions(rapidjson::kArrayType);
    while (cursor.NextFunction()) {
        CMemberObject object(Selection(), allocator);
        addFunctionMembers(object, cursor.Function());
        functions.PushBack(object.Take(), allocator);
    }
    return functions;
}

}  // namespace em_pni
