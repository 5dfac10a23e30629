// A host with answers that a test sets. It counts the requests.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "em_pni/em_pni.h"
#include "tests/record_builder.h"

namespace em_pni::test {

class CScriptedHost final : public CIHostInterface {
  public:
    using Answer = std::function<void(CKrcpMessage&)>;

    // At first: reads return the image, writes replace it, clearing a snapshot succeeds.
    explicit CScriptedHost(Bytes image) : image_(std::move(image)) {
        On(krcp::readFru, [this](CKrcpMessage& message) {
            krcp::setRawBytes(message, Image());
            krcp::setStatus(message, krcp::SUCCESS);
        });
        On(krcp::writeFru, [this](CKrcpMessage& message) {
            Bytes bytes;
            krcp::copyRawBytes(message, bytes);
            const std::lock_guard guard(lock_);
            image_ = bytes;
            krcp::setStatus(message, krcp::SUCCESS);
        });
        On(krcp::clearNetworkSnapshot, [](CKrcpMessage& message) {
            krcp::setMember(message, "DA", rapidjson::Value(1));
            krcp::setStatus(message, krcp::SUCCESS);
        });
    }

    void On(std::uint16_t opcode, Answer answer) {
        const std::lock_guard guard(lock_);
        answers_[opcode] = std::move(answer);
    }
    // Answers `opcode` with this status, and with this JSON as "DA" unless it is empty.
    void OnStatus(std::uint16_t opcode, int status, const std::string& data = "") {
        On(opcode, [status, data](CKrcpMessage& message) {
            if (!data.empty()) {
                rapidjson::Document parsed(&message.document.GetAllocator());
                parsed.Parse(data.c_str());
                krcp::setMember(message, "DA", rapidjson::Value(std::move(parsed.Move())));
            }
            krcp::setMember(message, "ST", krcp::number(status));
        });
    }

    // Sees each request before the answer, with its number from 1. Returns true to skip the answer.
    void Intercept(std::function<bool(int number, CKrcpMessage&)> interceptor) {
        const std::lock_guard guard(lock_);
        total_ = 0;
        interceptor_ = std::move(interceptor);
    }
    void Put(const Bytes& image) {
        const std::lock_guard guard(lock_);
        image_ = image;
    }
    [[nodiscard]] int Total() {
        const std::lock_guard guard(lock_);
        return total_;
    }

    [[nodiscard]] int Count(std::uint16_t opcode) {
        const std::lock_guard guard(lock_);
        return counts_[opcode];
    }
    [[nodiscard]] Bytes Image() {
        const std::lock_guard guard(lock_);
        return image_;
    }
    // The last request with an opcode.
    struct Request {
        std::int64_t extension, cabinet;
        std::uint32_t timeout;
    };
    [[nodiscard]] Request Last(std::uint16_t opcode) {
        const std::lock_guard guard(lock_);
        return last_[opcode];
    }

    std::uint32_t SendRequest(CIExtensionModule*, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override {
        const std::uint16_t opcode = krcp::opcode(message);
        Answer answer;
        int number = 0;
        std::function<bool(int, CKrcpMessage&)> interceptor;
        {
            const std::lock_guard guard(lock_);
            number = ++total_;
            interceptor = interceptor_;
            ++counts_[opcode];
            last_[opcode] = {krcp::GetValue(message, 0, "OE", -1),
                             krcp::GetValue(message, 0, "CA", -99), timeoutMs};
            answer = answers_[opcode];
        }
        if ((!interceptor || !interceptor(number, message)) && answer) {
            answer(message);
        }
        return 1;
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t value) override {
        return 40 + value;
    }
    std::uint32_t GetHostKind() override { return 5; }

  private:
    std::mutex lock_;  // guards all members below; not held while an answer runs
    Bytes image_;
    std::map<std::uint16_t, Answer> answers_;
    std::function<bool(int, CKrcpMessage&)> interceptor_;
    int total_ = 0;
    std::map<std::uint16_t, int> counts_;
    std::map<std::uint16_t, Request> last_;
};

inline CKrcpMessage parsedMessage(const std::string& json, std::uint32_t index = 0) {
    CKrcpMessage message;
    message.document.Parse(json.c_str());
    message.index = index;
    return message;
}

// Whether the condition becomes true within 30 seconds: a loaded machine may need many of them.
template <class Condition>
bool soon(Condition condition) {
    for (int i = 0; i < 3000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

}  // namespace em_pni::test
