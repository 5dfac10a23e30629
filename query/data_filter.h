// The filter of a request: which modules and which members it wants.
#pragma once

#include <string>
#include <string_view>

#include "em_pni/krcp_message.h"
#include "frudata/layout.h"
#include "query/member_names.h"

namespace em_pni {

// The filter is a JSON text in "DA" of the request, as a string or as raw bytes:
//
//     {"Filter": {"ModuleFilter": {"TechnologyType": "FC"}, "ResultFilter": ["Speed", ...]}}
//
// "ModuleFilter" selects the modules of one technology: CNA, FC, IB, Eth or NIC, SAS.
// "ResultFilter" selects members by name. Both are optional. When the document has exactly one
// member and that is an object, the filters are read from that object; its name does not matter. So
// "ModuleFilter" alone needs an outer object. The case of member names in "ResultFilter" and of the
// technology does not matter.
class CPNI_DataFilter {
  public:
    // Call it once. Returns false for a module filter without a known technology and for a result
    // filter with an unknown member; do not use the filter then. Returns true and filters nothing
    // when the request has no filter that can be read.
    [[nodiscard]] bool Read(const CKrcpMessage& request);

    [[nodiscard]] bool IsFiltered() const noexcept {
        return technology_ != ModuleTechnology::none || !selection_.IsEmpty();
    }
    // ModuleTechnology::none selects all modules.
    [[nodiscard]] ModuleTechnology Technology() const noexcept { return technology_; }
    [[nodiscard]] const CMemberSelection& Selection() const noexcept { return selection_; }
    // For the trace.
    [[nodiscard]] std::string Description() const;

  private:
    [[nodiscard]] bool ReadModuleFilter(const rapidjson::Value& filter);
    [[nodiscard]] bool ReadResultFilter(const rapidjson::Value& names);

    ModuleTechnology technology_ = ModuleTechnology::none;
    std::string moduleFilterText_;  // its members, one per line, for the trace
    CMemberSelection selection_;
};

}  // namespace em_pni
