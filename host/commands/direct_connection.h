// Asks about the machine's network without a host between.
#pragma once

#include "host/machine/network_answers.h"
#include "host/machine/reply.h"
#include "module/krcp_connection.h"

namespace em_pni {

class CDirectConnection final : public CKrcpConnection {
  public:
    // Must outlive this.
    explicit CDirectConnection(CNetworkAnswers& network) : network_(network) {}

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t /*timeoutMs*/) override {
        return reply(message, [&]() -> std::uint32_t {
            return network_.Answer(message).value_or(krcp::INVALID_CMD);
        });
    }

  private:
    CNetworkAnswers& network_;
};

}  // namespace em_pni
