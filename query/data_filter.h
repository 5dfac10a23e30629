// What a request wants to see of the inventory.
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
// "ModuleFilter" keeps the modules of one technology (CNA, FC, IB, Eth or NIC, SAS), "ResultFilter"
// the named members; both may be missing. A document with exactly one member that is an object is
// looked into, whatever that member's name; so a document that would hold "ModuleFilter" alone
// needs the outer object. Names are compared without regard to case.
class CPNI_DataFilter {
  public:
    // False for a filter that cannot be used: a module filter without a known technology, or a
    // result filter with an unknown member; what it was set to is then gone. A request without any
    // (readable) filter is fine and filters nothing.
    [[nodiscard]] bool Read(const CKrcpMessage& request);

    [[nodiscard]] bool IsFiltered() const noexcept {
        return technology_ != ModuleTechnology::none || !selection_.IsEmpty();
    }
    // none = modules of every technology.
    [[nodiscard]] ModuleTechnology Technology() const noexcept { return technology_; }
    [[nodiscard]] const CMemberSelection& Selection() const noexcept { return selection_; }
    // For the trace.
    [[nodiscard]] std::string Description() const;

  private:
    [[nodiscard]] bool ReadModuleFilter(const rapidjson::Value& filter);
    [[nodiscard]] bool ReadResultFilter(const rapidjson::Value& names);

    ModuleTechnology technology_ = ModuleTechnology::none;
    std::string moduleFilterText_;  // its members, one per line
    CMemberSelection selection_;
};

}  // namespace em_pni
