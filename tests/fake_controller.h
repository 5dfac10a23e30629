// A management controller with one FRU device, behind the interface of the kernel's IPMI device.
// Time passes only when somebody waits.
#pragma once

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <linux/ipmi.h>
#include <memory>
#include <sys/ioctl.h>

#include "host/machine/fru_controller.h"
#include "host/machine/ipmi_port.h"
#include "tests/record_builder.h"

namespace em_pni::host_test {

struct CListener final : CIFruListener {
    void OnRead(std::size_t) override { ++reads; }
    void OnWritten(std::size_t) override { ++writes; }
    void OnReadFailed(const std::string&) override {}
    void OnWriteFailed(const std::string&) override {}
    void OnChangedByOthers() override { ++changes; }
    void OnNote(const std::string&) override {}
    int reads = 0;
    std::atomic<int> writes{0};
    int changes = 0;
};

class CFakeController {
  public:
    using Bytes = test::Bytes;
    struct Message {
        unsigned number;  // from 1
        std::uint8_t command;
        Bytes data;
        [[nodiscard]] std::size_t Offset() const { return data[1] + 256U * data[2]; }
    };
    // What a test makes of a message: the bytes of the answer instead of the usual ones, an empty
    // answer for silence, or no value.
    using Fault = std::function<std::optional<Bytes>(const Message&)>;

    explicit CFakeController(Bytes bytes) : stored(std::move(bytes)) {}

    IpmiPortOpener Opener() {
        return [this] { return std::make_unique<CPort>(*this); };
    }
    [[nodiscard]] unsigned Count(std::uint8_t command) const {
        return static_cast<unsigned>(std::ranges::count(commands, command));
    }

    Bytes stored;
    Fault fault;
    bool isGone = false;  // the device fails
    Bytes commands;       // of all messages
    CIIpmiPort::Clock::time_point now;

  private:
    class CPort final : public CIIpmiPort {
      public:
        explicit CPort(CFakeController& controller) : controller_(controller) {}

        int Ioctl(unsigned long request, void* argument) override {
            if (controller_.isGone) {
                return ENODEV;
            }
            return request == IPMICTL_SEND_COMMAND ? Send(*static_cast<ipmi_req*>(argument))
                                                   : Receive(*static_cast<ipmi_recv*>(argument));
        }
        bool WaitForMessage(Clock::time_point deadline) override {
            if (answers_.empty() && !controller_.isGone) {
                controller_.now = std::max(controller_.now, deadline);
                return false;
            }
            return true;
        }
        void Pause(Clock::duration duration) override { controller_.now += duration; }
        [[nodiscard]] Clock::time_point Now() const override { return controller_.now; }

      private:
        struct Answer {
            long id;
            std::uint8_t netFunction;
            std::uint8_t command;
            Bytes data;
        };
        int Send(const ipmi_req& request) {
            const Bytes data(request.msg.data, request.msg.data + request.msg.data_len);
            const std::uint8_t command = request.msg.cmd;
            controller_.commands.push_back(command);
            const Message message{static_cast<unsigned>(controller_.commands.size()), command,
                                  data};
            auto bytes = controller_.fault ? controller_.fault(message) : std::nullopt;
            if (!bytes) {
                bytes = controller_.Answer(message);
            }
            // Answers to other messages come first.
            const std::uint8_t function = request.msg.netfn | 1U;
            answers_.push_back({request.msgid - 1, function, command, {0, 99}});
            answers_.push_back({request.msgid, request.msg.netfn, command, {0, 99}});
            answers_.push_back({request.msgid, function, test::byteOf(command + 1U), {0, 99}});
            if (!bytes->empty()) {
                answers_.push_back({request.msgid, function, command, *bytes});
            }
            return 0;
        }
        int Receive(ipmi_recv& received) {
            if (answers_.empty()) {
                return EAGAIN;
            }
            const Answer answer = answers_.front();
            answers_.pop_front();
            received.recv_type = IPMI_RESPONSE_RECV_TYPE;
            received.msgid = answer.id;
            received.msg.netfn = answer.netFunction;
            received.msg.cmd = answer.command;
            std::ranges::copy(answer.data, received.msg.data);
            received.msg.data_len = static_cast<unsigned short>(answer.data.size());
            return 0;
        }

        CFakeController& controller_;
        std::deque<Answer> answers_;
    };

    Bytes Answer(const Message& message) {
        if (message.command == 0x10) {
            return {0, test::byteOf(stored.size()), test::byteOf(stored.size() >> 8U), 0};
        }
        const bool isRead = message.command == 0x11;
        const std::size_t count = isRead ? message.data[3] : message.data.size() - 3;
        if (message.Offset() + count > stored.size()) {
            return {0xC9};
        }
        Bytes answer{0, test::byteOf(count)};
        const auto begin = stored.begin() + static_cast<std::ptrdiff_t>(message.Offset());
        if (isRead) {
            answer.insert(answer.end(), begin, begin + static_cast<std::ptrdiff_t>(count));
        } else {
            std::copy(message.data.begin() + 3, message.data.end(), begin);
        }
        return answer;
    }
};

}  // namespace em_pni::host_test
