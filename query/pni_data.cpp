#include "query/pni_data.h"

#include "frudata/layout.h"
#include "frudata/module_facts.h"
#include "platform/trace.h"
#include "query/function_members.h"
#include "query/value_names.h"

namespace em_pni {
namespace {

// The values of the selected members of a module header.
struct ModuleMembers {
    const char* technology = nullptr;
    const char* type = nullptr;
    std::optional<std::string> name;
    std::optional<std::string> firmware;

    ModuleMembers(const CAnswerWriter& answer, CByteView header, bool hasTechnology) {
        using Area = layout::PNI_MODULE_AREA;
        if (hasTechnology && answer.Selects(Member::TechnologyType) &&
            header.Has(Area::moduleTypeCode, 1)) {
            technology = moduleTechnologyName(header.U8(Area::moduleTypeCode));
        }
        if (answer.Selects(Member::ModuleType) && header.Has(Area::moduleType, 1)) {
            type = moduleTypeName(header.U8(Area::moduleType));
        }
        if (answer.Selects(Member::ModuleName) && header.Has(Area::name, Area::nameSize)) {
            name = fieldText(header.Inside(Area::name, Area::nameSize));
        }
        if (answer.Selects(Member::FirmwareVersion) &&
            header.Has(Area::firmwareVersion, Area::firmwareVersionSize)) {
            firmware = fieldText(header.Inside(Area::firmwareVersion, Area::firmwareVersionSize));
        }
    }

    [[nodiscard]] bool AreNone() const noexcept {
        return technology == nullptr && type == nullptr && !name && !firmware;
    }
};

}  // namespace

bool CPNI_Data::PniGetAllData(rapidjson::Document& result) {
    const RecordFrame frame = locateFrame(image_);
    if (frame.fault != FrameFault::none) {
        PNI_TRACE(5,
                  "CPNI_Data::PniGetAllData  Error! Failed to retrieve PNI record format version");
        return false;
    }
    formatVersion_ = frame.formatVersion;
    CRecordCursor cursor(image_, frame);
    const auto generate = [&](rapidjson::Document& document) {
        CAnswerWriter answer(document, Selection());
        answer.StartObject();
        answer.AddAlways("NumberOfModules", frame.moduleCount);
        GetModulesData(answer, cursor, frame.moduleCount);
        answer.EndObject();
        return true;
    };
    result.Populate(generate);
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

bool CPNI_Data::PassesModuleFilter(const CRecordCursor& cursor) const {
    return !IsDataFilterValid() || filter_->Technology() == ModuleTechnology::none ||
           filter_->Technology() == moduleTechnology(cursor);
}

void CPNI_Data::GetModulesData(CAnswerWriter& answer, CRecordCursor& cursor, unsigned count) const {
    PNI_TRACE(5, "CPNI_Data::GetModulesData  Found [%d] modules", static_cast<int>(count));
    answer.StartArray("Modules");
    int walked = 0;
    forEachModule(cursor, [&](CRecordCursor& atModule) {
        if (PassesModuleFilter(atModule)) {
            GetModuleData(answer, atModule);
        } else {
            PNI_TRACE(5, "CPNI_Data::GetModuleData  Module with index [%d] ignored by filter",
                      walked);
        }
        ++walked;
    });
    for (int missing = walked; missing < static_cast<int>(count); ++missing) {
        PNI_TRACE(5, "CPNI_Data::GetModuleData  GetModuleArea for index [%d] failed", missing);
    }
    answer.EndArray();
}

void CPNI_Data::GetModuleData(CAnswerWriter& answer, CRecordCursor& cursor) const {
    const PNI_MODULE_AREA& module = cursor.Module();
    const ModuleMembers members(
        answer, cursor.ModuleHeader(),
        formatVersion_ >= layout::OEM_PNI_MULTIRECORD_HEADER::firstVersionWithCodes);
    if (!answer.Selects(Member::Enabled) && members.AreNone() && module.portCount == 0) {
        return;
    }
    answer.StartObject();
    answer.AddAlways(memberName(Member::ModuleId), module.moduleId);
    answer.AddFlag(Member::Enabled, module.enable);
    answer.AddName(Member::TechnologyType, members.technology);
    answer.AddName(Member::ModuleType, members.type);
    answer.AddText(Member::ModuleName, members.name);
    answer.AddText(Member::FirmwareVersion, members.firmware);
    answer.StartArray("PhysicalPorts");
    GetPortsData(answer, cursor);
    answer.EndArray();
    answer.EndObject();
}

void CPNI_Data::GetPortsData(CAnswerWriter& answer, CRecordCursor& cursor) const {
    while (cursor.NextPort()) {
        const CPniPortArea& port = cursor.Port();
        answer.StartObject();
        answer.AddAlways(memberName(Member::PortId), port.portId);
        if (answer.Selects(Member::WolBehavior) && port.wolBehaviour) {
            answer.AddName(Member::WolBehavior,
                           wolBehaviorName(*port.wolBehaviour, formatVersion_));
        }
        answer.StartArray("PhysicalFunctions");
        while (cursor.NextFunction()) {
            answer.StartObject();
            addFunctionMembers(answer, cursor.Function());
            answer.EndObject();
        }
        answer.EndArray();
        answer.EndObject();
    }
}

}  // namespace em_pni
