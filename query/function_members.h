// A port function as members of its JSON object, which the caller has started.
#pragma once

#include "frudata/port_function.h"
#include "query/answer_writer.h"

namespace em_pni {

// Everything about the function, its addresses last.
void addFunctionMembers(CAnswerWriter& answer, const CPniPortFunction& function);

// The members of its address block, which depend on its technology.
void addAddressMembers(CAnswerWriter& answer, const CPniPortFunction& function);

}  // namespace em_pni
