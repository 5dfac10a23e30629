// What the address setters have in common: their checks, and the functions they change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "frudata/pni_fru.h"
#include "frudata/port_function.h"
#include "frudata/record_cursor.h"

namespace em_pni {

// A port function that is to be changed.
struct AddressTarget {
    CPniPortFunction function;
    std::uint8_t moduleId = 0;
    std::uint8_t port = 0;      // position in the module
    std::size_t addresses = 0;  // image offset of its address block
};

// The functions for which `isWanted` holds, in record order; none, and another `code` than
// PNI_SUCCESS, when the image holds no record or an element does not stand where it says.
std::vector<AddressTarget> findAddressTargets(
    CByteView image, const std::function<bool(const CRecordCursor&)>& isWanted,
    std::uint32_t& code);

// Traces the outcome of a setter by the text of its code; true for PNI_SUCCESS.
bool traceAssignment(const char* operation, std::uint32_t code);

}  // namespace em_pni
