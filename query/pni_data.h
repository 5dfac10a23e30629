// The JSON view of a record.
#pragma once

#include <cstdint>
#include <rapidjson/document.h>
#include <span>

#include "frudata/image_view.h"
#include "frudata/record_cursor.h"
#include "query/data_filter.h"
#include "query/member_object.h"

namespace em_pni {

// One query over a record. The image and the filter are borrowed. The answer takes one pass over
// the record:
//
//     {"NumberOfModules": n,
//      "Modules": [{"ModuleId": ..., "PhysicalPorts": [
//                       {"PortId": ..., "PhysicalFunctions": [{"PhyFunctionId": ..., ...}]}]}]}
//
// A member is left out when its bytes are not wholly there or its code has no name.
class CPNI_Data {
  public:
    // Without a filter the whole record is reported.
    CPNI_Data(std::span<const std::uint8_t> image, const CPNI_DataFilter* filter) noexcept
        : image_(image.data(), image.size()), filter_(filter) {}

    // Fills `result` with the answer; false when the record cannot be read.
    [[nodiscard]] bool PniGetAllData(rapidjson::Document& result);

  private:
    using Allocator = CMemberObject::Allocator;

    [[nodiscard]] bool IsDataFilterValid() const;
    [[nodiscard]] bool PassesModuleFilter(const CRecordCursor& cursor) const;
    [[nodiscard]] rapidjson::Value GetModulesData(CRecordCursor& cursor, unsigned count,
                                                  Allocator& allocator) const;
    // Null when nothing of the module was selected.
    [[nodiscard]] rapidjson::Value GetModuleData(CRecordCursor& cursor, Allocator& allocator) const;
    [[nodiscard]] rapidjson::Value GetPortsData(CRecordCursor& cursor, Allocator& allocator) const;
    [[nodiscard]] rapidjson::Value GetFunctionsData(CRecordCursor& cursor,
                                                    Allocator& allocator) const;
    [[nodiscard]] ModuleTechnology TechnologyOf(const CRecordCursor& cursor) const;
    [[nodiscard]] const CMemberSelection& Selection() const noexcept;

    CImageView image_;
    const CPNI_DataFilter* filter_;
    std::uint8_t formatVersion_ = 0;
};

}  // namespace em_pni
