// A host as the adapter model sees it: answers by opcode, extension and object.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "module/krcp_connection.h"

namespace em_pni {

inline std::string rawJson(const std::vector<unsigned>& bytes) {
    std::string text;
    for (const unsigned byte : bytes) {
        text += text.empty() ? "" : ",";
        text += std::to_string(byte);
    }
    return "{\"RAW\":[" + text + "]}";
}

// What is not scripted is refused with status 2.
class CScriptedConnection final : public CKrcpConnection {
  public:
    // "DA" as JSON, none when empty.
    void On(unsigned opcode, unsigned extension, unsigned object, const std::string& data,
            int status = 0) {
        std::string command = "{\"ST\":";
        command += std::to_string(status);
        command += data.empty() ? "}" : ",\"DA\":" + data + "}";
        OnDocument(opcode, extension, object, "{\"SIP\":{\"CMD\":[" + command + "]}}");
    }
    // The whole document; "unanswered" leaves it as it was sent.
    void OnDocument(unsigned opcode, unsigned extension, unsigned object,
                    const std::string& document) {
        answers_[{opcode, extension, object}] = document;
    }
    void Count(unsigned count) { On(0x1700, 0, 0, std::to_string(count)); }
    void Ethernet(unsigned interface, const std::vector<unsigned>& mac) {
        On(0x1701, 0, interface, "6");
        On(0x1707, 0, interface, rawJson(mac));
    }
    void Ip(unsigned extension, unsigned index, unsigned interface,
            const std::vector<unsigned>& address) {
        On(0x1703, extension, index << 16U | interface, rawJson(address));
    }
    // Requests so far with this opcode and extension.
    [[nodiscard]] int Asked(unsigned opcode, unsigned extension = 0) {
        return asked_[{opcode, extension}];
    }

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        const auto field = [&](const char* key) {
            return static_cast<unsigned>(krcp::GetValue(message, 0, key, 0));
        };
        ++asked_[{field("OC"), field("OE")}];
        cabinet = krcp::GetValue(message, 0, "CA", 0);
        timeout = timeoutMs;
        const auto found = answers_.find({field("OC"), field("OE"), field("OI")});
        if (found == answers_.end()) {
            krcp::setStatus(message, krcp::INVALID_OBJ);
        } else if (found->second != "unanswered") {
            message.document.Parse(found->second.c_str());
        }
        return 1;
    }

    std::int64_t cabinet = 0;  // of the last request
    std::uint32_t timeout = 0;

  private:
    std::map<std::tuple<unsigned, unsigned, unsigned>, std::string> answers_;
    std::map<std::pair<unsigned, unsigned>, int> asked_;
};

}  // namespace em_pni
