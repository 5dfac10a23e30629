// Keeps exceptions inside the module.
#pragma once

#include <exception>

#include "platform/trace.h"

namespace em_pni {

// Returns the result of `body`. When `body` throws, traces the exception and returns `failed`.
template <class Result, class Body>
Result guarded(const char* operation, Result failed, Body body) {
    try {
        return body();
    } catch (const std::exception& exception) {
        PNI_TRACE(1, "\nEM_PNI              : CRITICAL ERROR! Exception in %s! %s", operation,
                  exception.what());
    } catch (...) {
        PNI_TRACE(1, "\nEM_PNI              : CRITICAL ERROR! Exception in %s!", operation);
    }
    return failed;
}

template <class Body>
void guarded(const char* operation, Body body) {
    guarded(operation, 0, [&body] {
        body();
        return 0;
    });
}

}  // namespace em_pni
