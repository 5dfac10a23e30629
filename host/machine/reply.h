// Turns whatever comes of answering a message into the status of its answer.
#pragma once

#include <exception>
#include <new>

#include "em_pni/krcp_message.h"

namespace em_pni {

// `answer` returns the status. 0 when the message has no command that could take it.
template <class Answer>
std::uint32_t reply(CKrcpMessage& message, Answer answer) noexcept {
    std::uint32_t status = krcp::EXEC_FAILED;
    try {
        status = answer();
    } catch (const std::bad_alloc&) {
        status = krcp::OUT_OF_MEMORY;
    } catch (const std::exception&) {
        status = krcp::EXEC_FAILED;
    }
    try {
        return krcp::setStatus(message, status) ? 1 : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

}  // namespace em_pni
