// One trace line for a command document, and JSON text of any value.
#pragma once

#include <string>

#include "em_pni/krcp_message.h"

namespace em_pni::krcp {

// The value as JSON text; nothing of a value that is nested deeper than any real document, as
// writing it would take as much stack.
std::string jsonText(const rapidjson::Value& value);

// Traces the current command. `tag` is " (REQ)" for a request, " (RET)" for one that has come back,
// " (RPL)" for a reply or event. Builds nothing while tracing is off, and the line
// is lost when there is no memory for it.
void traceMessage(int level, const char* moduleName, const char* tag,
                  const CKrcpMessage& message) noexcept;

}  // namespace em_pni::krcp
