#include "adapters/network_requests.h"

namespace em_pni {
namespace {

constexpr std::uint32_t timeout = 5000;  // milliseconds

template <class Reply>
Reply replyWithoutValue(const CKrcpMessage& message) noexcept {
    Reply reply;
    const rapidjson::Value* const command = krcp::findCommand(message, message.index);
    reply.answered = command != nullptr && (krcp::findMember(*command, "ST") != nullptr ||
                                            krcp::findMember(*command, "DA") != nullptr);
    reply.status = krcp::status(message);
    return reply;
}

}  // namespace

CKrcpMessage CNetworkRequests::Ask(std::uint16_t opcode, std::uint16_t extension,
                                   std::uint32_t object) const {
    CKrcpMessage message = krcp::makeRequest(opcode, extension, object, cabinet_);
    if (connection_ != nullptr) {
        connection_->SendRequest(message, timeout);
    }
    return message;
}

NumberReply CNetworkRequests::AskNumber(std::uint16_t opcode, std::uint32_t object) const {
    const CKrcpMessage message = Ask(opcode, 0, object);
    auto reply = replyWithoutValue<NumberReply>(message);
    if (krcp::hasData(message) && krcp::findData(message)->IsUint64()) {
        reply.value = krcp::findData(message)->GetUint64();
    }
    return reply;
}

BytesReply CNetworkRequests::AskBytes(std::uint16_t opcode, std::uint16_t extension,
                                      std::uint32_t object) const {
    const CKrcpMessage message = Ask(opcode, extension, object);
    auto reply = replyWithoutValue<BytesReply>(message);
    if (krcp::hasData(message)) {
        krcp::copyRawBytes(message, reply.value.emplace());
    }
    return reply;
}

NetworkReply<std::uint32_t> CNetworkRequests::InterfaceCount() const {
    const NumberReply number = AskNumber(krcp::interfaceCount, 0);
    NetworkReply<std::uint32_t> reply{number.answered, number.status, std::nullopt};
    if (number.value && *number.value <= maxInterfaces) {
        reply.value = static_cast<std::uint32_t>(*number.value);
    }
    return reply;
}

NumberReply CNetworkRequests::InterfaceType(std::uint32_t interface) const {
    return AskNumber(krcp::interfaceType, interface);
}

BytesReply CNetworkRequests::MacAddress(std::uint32_t interface) const {
    return AskBytes(krcp::macAddress, 0, interface);
}

BytesReply CNetworkRequests::IpAddress(krcp::IpAddressKind kind, std::uint32_t index,
                                       std::uint32_t interface) const {
    BytesReply reply = AskBytes(krcp::ipAddress, kind, (index << 16U) + interface);
    if (reply.value && reply.value->empty()) {
        reply.value.reset();
    }
    return reply;
}

NumberReply CNetworkRequests::LinkState(std::uint32_t interface) const {
    return AskNumber(krcp::linkState, interface);
}

NumberReply CNetworkRequests::LinkSpeed(std::uint32_t interface) const {
    return AskNumber(krcp::linkSpeed, interface);
}

const char* nameOf(krcp::IpAddressKind kind) noexcept {
    switch (kind) {
        case krcp::primaryAddress:
            return "primary";
        case krcp::transientAddress:
            return "transient";
        default:
            return "any";
    }
}

}  // namespace em_pni
