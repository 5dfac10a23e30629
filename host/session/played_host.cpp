#include "host/session/played_host.h"

#include "host/machine/reply.h"

namespace em_pni {

std::uint32_t CPlayedHost::SendRequest(CIExtensionModule* /*module*/, CKrcpMessage& message,
                                       std::uint32_t /*timeoutMs*/) {
    return reply(message, [&]() -> std::uint32_t {
        if (const auto status = controller_.Answer(message)) {
            return *status;
        }
        return network_.Answer(message).value_or(krcp::INVALID_CMD);
    });
}

}  // namespace em_pni
