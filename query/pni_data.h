// The inventory of a record as JSON.
#pragma once

#include <cstdint>
#include <rapidjson/document.h>
#include <span>

#include "frudata/record_cursor.h"
#include "platform/bytes.h"
#include "query/answer_writer.h"
#include "query/data_filter.h"

namespace em_pni {

// One query over the image of a record. The image and the filter must outlive it. Form of the
// answer:
//
//     {"NumberOfModules": n,
//      "Modules": [{"ModuleId": ..., "PhysicalPorts": [
//                       {"PortId": ..., "PhysicalFunctions": [{"PhyFunctionId": ..., ...}]}]}]}
//
// A member is missing when the record does not hold all its bytes or its code has no name.
class CPNI_Data {
  public:
    // A null filter selects everything.
    CPNI_Data(std::span<const std::uint8_t> image, const CPNI_DataFilter* filter) noexcept
        : image_(image.data(), image.size()), filter_(filter) {}

    // Fills `result` with the answer, using its allocator. Returns false when the record cannot be
    // read.
    [[nodiscard]] bool PniGetAllData(rapidjson::Document& result);

  private:
    [[nodiscard]] bool IsDataFilterValid() const;
    [[nodiscard]] bool PassesModuleFilter(const CRecordCursor& cursor) const;
    void GetModulesData(CAnswerWriter& answer, CRecordCursor& cursor, unsigned count) const;
    // Writes nothing when no member of the module has a value and it has no ports.
    void GetModuleData(CAnswerWriter& answer, CRecordCursor& cursor) const;
    void GetPortsData(CAnswerWriter& answer, CRecordCursor& cursor) const;
    [[nodiscard]] const CMemberSelection& Selection() const noexcept;

    CByteView image_;
    const CPNI_DataFilter* filter_;
    std::uint8_t formatVersion_ = 0;
};

}  // namespace em_pni
