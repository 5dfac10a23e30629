// A port function as members of its JSON object.
#pragma once

#include "frudata/port_function.h"
#include "query/member_object.h"

namespace em_pni {

// Everything about the function, its addresses last.
void addFunctionMembers(CMemberObject& object, const CPniPortFunction& function);

// The members of its address block, which depend on its technology.
void addAddressMembers(CMemberObject& object, const CPniPortFunction& function);

}  // namespace em_pni
