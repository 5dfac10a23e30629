// Commands to the management controller and their answers, over the kernel's IPMI device.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/machine/ipmi_port.h"

namespace em_pni {

struct IpmiAnswer {
    std::uint8_t code = 0;  // completion code; 0 = done
    std::vector<std::uint8_t> data;
};

class CIpmiMessages {
  public:
    using TimePoint = CIIpmiPort::Clock::time_point;

    // The port must outlive this. `name` is for the texts of errors.
    CIpmiMessages(CIIpmiPort& port, std::string name) : port_(port), name_(std::move(name)) {}

    // Sends a command and waits for the answer to it. Drops answers to other commands. No value =
    // no answer until the deadline, or the driver takes no message now. Throws a CHostError when
    // the device fails.
    std::optional<IpmiAnswer> Ask(std::uint8_t netFunction, std::uint8_t command,
                                  std::span<const std::uint8_t> data, TimePoint deadline);

  private:
    [[nodiscard]] bool Send(std::uint8_t netFunction, std::uint8_t command,
                            std::span<const std::uint8_t> data);
    std::optional<IpmiAnswer> Receive(std::uint8_t netFunction, std::uint8_t command);
    [[noreturn]] void Fail(int error) const;

    CIIpmiPort& port_;
    const std::string name_;
    long messageId_ = 0;  // of the last command
};

}  // namespace em_pni
