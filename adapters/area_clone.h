// How the owner of an area takes in a copy of it. LocalPniAdapter and LocalPniPortArea own areas.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/trace.h"

namespace em_pni {

// Returns a clone of `area`. Throws std::logic_error when `area` is null or its Clone returns null.
// The text of the exception begins with `operation`.
template <class Area>
std::unique_ptr<Area> clonedArea(const Area* area, const char* operation) {
    if (area == nullptr) {
        throw std::logic_error(std::string(operation) + " : Called with NULL parameter.");
    }
    auto clone = area->Clone();
    if (clone == nullptr) {
        throw std::logic_error(std::string(operation) + " : Could not clone port area.");
    }
    return clone;
}

// Runs `change`. Traces an exception and throws it on.
template <class Change>
void tracingExceptions(const char* operation, Change change) {
    try {
        change();
    } catch (...) {
        PNI_TRACE(1, "\nEM_PNI %s : ERROR! Exception generated...", operation);
        throw;
    }
}

}  // namespace em_pni
