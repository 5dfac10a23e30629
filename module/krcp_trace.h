// The trace line of a command document, and the JSON text of a value.
#pragma once

#include <string>

#include "em_pni/krcp_message.h"

namespace em_pni::krcp {

// Returns the value as JSON text. Returns an empty text for a value with more than 64 levels:
// RapidJSON writes recursively and could use up the stack.
std::string jsonText(const rapidjson::Value& value);

// Traces the current command. `tag` is " (REQ)" for a request, " (RET)" for the same request with
// its answer, " (RPL)" for a reply or event. Builds nothing while tracing is off. Writes no line
// when there is no memory for it.
void traceMessage(int level, const char* moduleName, const char* tag,
                  const CKrcpMessage& message) noexcept;

}  // namespace em_pni::krcp
