// Whoever takes a command document to the host and brings the answer back.
#pragma once

#include <cstdint>

#include "em_pni/krcp_message.h"

namespace em_pni {

class CKrcpConnection {
  public:
    // Blocks until the host has written its answer into `message` or the time, in milliseconds, is
    // over; then the message has no status. The result is the host's own and says nothing about
    // the answer.
    virtual std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) = 0;

  protected:
    ~CKrcpConnection() = default;
};

}  // namespace em_pni
