// What all owners of areas have in common when they take one in.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/trace.h"

namespace em_pni {

// Throws std::logic_error when `area` is null or gives no clone. `operation` stands in its text.
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

// Runs `change`; what it throws is traced on its way out.
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
