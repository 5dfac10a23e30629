// The members of a port function in its JSON object.
#pragma once

#include "frudata/port_function.h"
#include "query/answer_writer.h"

namespace em_pni {

// Adds all members of the function to the object that the caller has started. The members of its
// addresses come last.
void addFunctionMembers(CAnswerWriter& answer, const CPniPortFunction& function);

}  // namespace em_pni
