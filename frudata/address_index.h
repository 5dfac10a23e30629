// Searches for the module that owns a physical address.
//
// There are two searches with the same answers. One walks the record for one address. The other is
// an index for many addresses. Both compare the manufacture addresses of all Ethernet and Fibre
// Channel functions, and the first match in record order counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/address.h"
#include "platform/bytes.h"
#include "platform/trace.h"

namespace em_pni {

// Whether a module was found, and its position in the record.
using FoundModule = std::pair<bool, std::uint8_t>;

// Where a function stands in a record. Each position counts from 0.
struct FunctionPlace {
    std::uint8_t module = 0;
    std::uint8_t port = 0;
    std::uint8_t function = 0;
};

// Begins a search in the trace. Returns false for an empty address: no module owns it.
bool beginAddressSearch(const PhysicalAddress& wanted) noexcept;

// Walks the record of the image. Call beginAddressSearch first.
FoundModule searchModule(CByteView image, const PhysicalAddress& wanted);

// Calls `search(address)` unless the kind of the address is unknown.
template <class Search>
FoundModule searchKnownKind(const PhysicalAddress& address, Search search) {
    if (address.kind != PhysicalAddress::Kind::mac && address.kind != PhysicalAddress::Kind::wwn) {
        PNI_TRACE(1, "\nCPniFruData::FindModuleByAddress() : ERROR! Address type not supported.");
        return {false, 0};
    }
    const FoundModule found = search(address);
    if (found.first) {
        PNI_TRACE(5, "\nCPniFruData::FindModuleByAddress() : Module found : %u", found.second);
    }
    return found;
}

// The addresses of a record at one moment. Holds no reference to the image.
class CModuleAddressIndex {
  public:
    explicit CModuleAddressIndex(CByteView image);

    // Finds what CPniFruData::FindModuleByAddress finds and writes the same lines, without a walk.
    // The constructor has already traced the conversion of the stored names.
    [[nodiscard]] FoundModule Find(const PhysicalAddress& address) const;

  private:
    struct Owner {
        PhysicalAddress address;
        FunctionPlace place;
    };

    [[nodiscard]] FoundModule Search(const PhysicalAddress& wanted) const;

    std::vector<Owner> owners_;        // in record order
    std::vector<std::size_t> sorted_;  // positions in owners_, by address, then in record order
};

}  // namespace em_pni
