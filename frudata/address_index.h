// Finds the owners of many addresses in one record.
#pragma once

#include <vector>

#include "frudata/pni_fru_data.h"

namespace em_pni {

// As of its making; the record must outlive it and stay as it is. Finds what
// CPniFruData::FindModuleByAddress finds, but walks the record once for all addresses. Where the
// trace is to tell how each address is searched for, it is searched for that way. Usable addresses
// only: a MAC that is not all zero, or a name that is not 0.
class CModuleAddressIndex {
  public:
    explicit CModuleAddressIndex(const CPniFruData& record);

    [[nodiscard]] FoundModule Find(const PhysicalAddress& address) const;

  private:
    struct Owner {
        PhysicalAddress::Kind kind;
        MacAddress mac;
        WorldWideName wwpn = 0;
        std::uint8_t module;
    };

    const CPniFruData& record_;
    std::vector<Owner> owners_;  // sorted; of several with one address the first module first
};

}  // namespace em_pni
