// A scripted host connection and PCI functions for the tests of adapters/.
#pragma once

#include <gtest/gtest.h>
#include <map>
#include <tuple>

#include "adapters/local_pni_adapter_handle.h"
#include "module/krcp_trace.h"
#include "tests/devscan_fake_machine.h"
#include "tests/record_builder.h"

namespace em_pni {

using test::Bytes;

inline std::string rawJson(const Bytes& bytes) {
    CKrcpMessage message = krcp::makeRequest(0, 0, 0, 0);
    krcp::setRawBytes(message, bytes);
    return krcp::jsonText(*krcp::findData(message));
}

// A document with one command.
inline std::string documentOf(const std::string& members) {
    return "{\"SIP\":{\"CMD\":[" + members + "]}}";
}

// A document whose command succeeds. `data` is the JSON of its "DA".
inline std::string reply(const std::string& data) {
    return documentOf("{\"ST\":0,\"DA\":" + data + "}");
}

class CScriptedConnection final : public CKrcpConnection {
  public:
    void Ethernet(unsigned interface, const Bytes& mac) {
        answers[{0x1701, 0, interface}] = reply("6");
        answers[{0x1707, 0, interface}] = reply(rawJson(mac));
    }
    void Ip(unsigned extension, unsigned index, unsigned interface, const Bytes& address) {
        answers[{0x1703, extension, index << 16U | interface}] = reply(rawJson(address));
    }

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        const auto field = [&](const char* key) {
            return static_cast<unsigned>(krcp::GetValue(message, 0, key, 0));
        };
        ++asked[{field("OC"), field("OE")}];
        cabinet = krcp::GetValue(message, 0, "CA", 0);
        timeout = timeoutMs;
        const auto found = answers.find({field("OC"), field("OE"), field("OI")});
        if (found == answers.end()) {
            krcp::setStatus(message, krcp::INVALID_OBJ);
        } else if (!found->second.empty()) {
            message.document.Parse(found->second.c_str());
        }
        return 1;
    }

    // Documents by opcode, extension and object. An empty text leaves the message unanswered.
    std::map<std::tuple<unsigned, unsigned, unsigned>, std::string> answers;
    std::map<std::pair<unsigned, unsigned>, int> asked;  // requests by opcode and extension
    std::int64_t cabinet = 0;                            // of the last request
    std::uint32_t timeout = 0;
};

inline AdapterFacts nicFacts(const PciAddress& address, std::uint32_t slot = 3) {
    AdapterFacts facts;
    facts.address = address;
    facts.ids = {0x8086, 0x1521, 0x15D9, 0x0001};
    facts.classCode = 0x0200;
    facts.headerType = 0x80;
    facts.permanentMac = MacAddress{2, 0, 0, 0, 1, address.function};
    facts.activeMac = MacAddress{2, 0, 0, 0, 2, address.function};
    facts.slot = slot;
    return facts;
}

struct AdaptersFixture : testing::Test {
    CSystemAdapter Adapter(const AdapterFacts& facts) { return {facts, machine.Machine()}; }
    DeviceToAdaptersMap Device(const std::vector<AdapterFacts>& functions) {
        const PciAddress& address = functions.front().address;
        DeviceToAdaptersMap device({address.segment, address.bus, address.device});
        for (const AdapterFacts& facts : functions) {
            device.Insert(Adapter(facts));
        }
        return device;
    }

    CFakeMachine machine;
    CScriptedConnection host;
    const NicTechnology::Context shared = NicTechnology::connect(&host, -2, nullptr);
    NetInterfaceConnectionContext& context = *shared;
};

}  // namespace em_pni
