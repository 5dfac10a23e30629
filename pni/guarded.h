// No exception leaves the module.
#pragma once

#include <cxxabi.h>
#include <exception>

#include "platform/trace.h"

namespace em_pni {

// The result of `body`, or `failed` when it throws, which is traced. The unwinding of a cancelled
// thread is no exception of ours and passes.
template <class Result, class Body>
Result guarded(const char* operation, Result failed, Body body) {
    try {
        return body();
    } catch (const std::exception& exception) {
        PNI_TRACE(1, "\nEM_PNI              : CRITICAL ERROR! Exception in %s! %s", operation,
                  exception.what());
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        PNI_TRACE(1, "\nEM_PNI              : CRITICAL ERROR! Exception in %s!", operation);
    }
    return failed;
}

}  // namespace em_pni
