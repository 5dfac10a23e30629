#include "host/machine/ipmi_messages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/ipmi.h>
#include <sys/ioctl.h>

#include "host/output/host_error.h"

namespace em_pni {

std::optional<IpmiAnswer> CIpmiMessages::Ask(std::uint8_t netFunction, std::uint8_t command,
                                             std::span<const std::uint8_t> data,
                                             TimePoint deadline) {
    if (!Send(netFunction, command, data)) {
        return std::nullopt;
    }
    while (port_.WaitForMessage(deadline)) {
        if (auto answer = Receive(netFunction, command)) {
            return answer;
        }
    }
    return std::nullopt;
}

// False when the driver takes no message now.
bool CIpmiMessages::Send(std::uint8_t netFunction, std::uint8_t command,
                         std::span<const std::uint8_t> data) {
    std::vector<std::uint8_t> bytes(data.begin(), data.end());
    ipmi_system_interface_addr controller{};
    controller.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    controller.channel = IPMI_BMC_CHANNEL;
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char*>(&controller);
    request.addr_len = sizeof(controller);
    request.msgid = ++messageId_;
    request.msg.netfn = netFunction;
    request.msg.cmd = command;
    request.msg.data = bytes.data();
    request.msg.data_len = static_cast<unsigned short>(bytes.size());
    int error = 0;
    do {
        error = port_.Ioctl(IPMICTL_SEND_COMMAND, &request);
    } while (error == EINTR);
    if (error != 0 && error != EAGAIN && error != EBUSY) {
        Fail(error);
    }
    return error == 0;
}

// No value when the message is not the answer.
std::optional<IpmiAnswer> CIpmiMessages::Receive(std::uint8_t netFunction, std::uint8_t command) {
    std::array<std::uint8_t, IPMI_MAX_MSG_LENGTH> bytes{};
    ipmi_addr sender{};
    ipmi_recv received{};
    received.addr = reinterpret_cast<unsigned char*>(&sender);
    received.addr_len = sizeof(sender);
    received.msg.data = bytes.data();
    received.msg.data_len = bytes.size();
    // After EMSGSIZE the message is received all the same; its end is missing.
    const int error = port_.Ioctl(IPMICTL_RECEIVE_MSG_TRUNC, &received);
    if (error == EAGAIN || error == EINTR) {
        return std::nullopt;
    }
    if (error != 0 && error != EMSGSIZE) {
        Fail(error);
    }
    const std::size_t size = std::min<std::size_t>(received.msg.data_len, bytes.size());
    const int answering = netFunction | 1;  // the network function of an answer is odd
    if (received.recv_type != IPMI_RESPONSE_RECV_TYPE || received.msgid != messageId_ ||
        received.msg.netfn != answering || received.msg.cmd != command || size == 0) {
        return std::nullopt;
    }
    return IpmiAnswer{bytes[0], {bytes.begin() + 1, bytes.begin() + static_cast<long>(size)}};
}

void CIpmiMessages::Fail(int error) const {
    throw CHostError(systemErrorText(name_ + ": the IPMI device fails", error));
}

}  // namespace em_pni
