// Sends command documents to the host.
#pragma once

#include <cstdint>

#include "em_pni/krcp_message.h"

namespace em_pni {

class CKrcpConnection {
  public:
    // Waits until the host has written its answer into `message`, at most `timeoutMs` milliseconds.
    // After a time-out the message has no status. The result is that of the host and says nothing
    // about the answer.
    virtual std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) = 0;

  protected:
    ~CKrcpConnection() = default;
};

}  // namespace em_pni
