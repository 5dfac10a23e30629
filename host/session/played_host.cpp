#include "host/session/played_host.h"

#include <exception>
#include <new>
#include <optional>

namespace em_pni {

std::string cycleConfig(std::uint32_t cycle) {
    return "[EM_PNI]\nFruUpdateCycle=" + std::to_string(cycle) + "\n";
}

std::uint32_t CPlayedHost::SendRequest(CIExtensionModule* /*module*/, CKrcpMessage& message,
                                       std::uint32_t timeoutMs) {
    const InterfaceTag tag = message.tag;
    if (!krcp::accept(message)) {
        if (!hasRefused_.exchange(true)) {
            console_.Error("messages of the module refused: " + tagDifference(tag));
        }
        return 0;
    }
    ++openRequests_;
    std::uint32_t status = krcp::EXEC_FAILED;
    try {
        status = Answer(message, timeoutMs);
    } catch (const std::bad_alloc&) {
        status = krcp::OUT_OF_MEMORY;
    } catch (const std::exception&) {
        status = krcp::EXEC_FAILED;
    }
    lastRequest_ = std::chrono::steady_clock::now();
    --openRequests_;
    try {
        return krcp::setStatus(message, status) ? 1 : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

std::chrono::steady_clock::time_point CPlayedHost::LastRequest() const noexcept {
    const bool isBusy = openRequests_ > 0 || (controller_ != nullptr && controller_->IsWriting());
    return isBusy ? std::chrono::steady_clock::now() : lastRequest_.load();
}

std::uint32_t CPlayedHost::Answer(CKrcpMessage& message, std::uint32_t timeoutMs) {
    std::optional<std::uint32_t> status;
    if (controller_ != nullptr) {
        status = controller_->Answer(message, std::chrono::milliseconds(timeoutMs));
    }
    if (!status) {
        status = network_.Answer(message);
    }
    return status.value_or(krcp::INVALID_CMD);
}

}  // namespace em_pni
