// The JSON view of a record.
#pragma once

#include <cstdint>
#include <rapidjson/document.h>
#include <span>

#include "frudata/record_cursor.h"
#include "platform/bytes.h"
#include "query/answer_writer.h"
#include "query/data_filter.h"

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

    // Fills `result`, whose allocator the caller may have chosen, with the answer; false when the
    // record cannot be read.
    [[nodiscard]] bool PniGetAllData(rapidjson::Document& result);

  private:
    [[nodiscard]] bool IsDataFilterValid() const;
    [[nodiscard]] bool PassesModuleFilter(const CRecordCursor& cursor) const;
    void GetModulesData(CAnswerWriter& answer, CRecordCursor& cursor, unsigned count) const;
    // Writes nothing when nothing of the module was selected and it has no ports.
    void GetModuleData(CAnswerWriter& answer, CRecordCursor& cursor) const;
    void GetPortsData(CAnswerWriter& answer, CRecordCursor& cursor) const;
    [[nodiscard]] const CMemberSelection& Selection() const noexcept;

    CByteView image_;
    const CPNI_DataFilter* filter_;
    std::uint8_t formatVersion_ = 0;
};

}  // namespace em_pni
