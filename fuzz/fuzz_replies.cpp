// Any answers of a host during an update cycle on the sample machine: the record stays valid, and
// the same answers lead to the same bytes.
//
// Input: a line for each answer, the opcode in hexadecimal digits and JSON: an object of members
// for the command, or a whole document. The requests with one opcode get its answers in turn.
// Without an answer in the input, the controller holds the sample record and the host knows no
// interface. "141E 0" reports a new card. "141E 2" removes all cards but the onboard adapter.
#include <map>

#include "adapters/device_to_adapters_map.h"
#include "fuzz/fuzz_input.h"
#include "platform/number.h"
#include "platform/text.h"
#include "pni/hotplug_update.h"
#include "pni/ip_update.h"
#include "pni/physical_check.h"
#include "pni/pni_ext_module.h"
#include "tests/scripted_network.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr std::uint64_t maxInterfaces = 2;  // each takes a dozen requests

class CAnsweringHost final : public CIHostInterface, public CKrcpConnection {
  public:
    explicit CAnsweringHost(std::string_view text) {
        while (!text.empty()) {
            std::string_view line = takeUntil(text, '\n');
            if (const auto opcode = parseHexAs<std::uint16_t>(takeUntil(line, ' '))) {
                answers_[*opcode].push_back(line);
            }
        }
    }

    // The next request with each opcode gets the first answer again.
    void Rewind() { asked_.clear(); }
    [[nodiscard]] HotplugFlags Events() {
        HotplugFlags flags;
        for (const std::string_view action : answers_[krcp::deviceDataChanged]) {
            (action == "2" ? flags.deviceRemoved : flags.deviceAdded) = true;
        }
        return flags;
    }
    [[nodiscard]] const Bytes& Written() const { return written_; }

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t /*timeoutMs*/) override {
        const std::uint16_t opcode = krcp::opcode(message);
        if (opcode == krcp::writeFru) {
            krcp::copyRawBytes(message, written_);
        }
        const auto& answers = answers_[opcode];
        if (!answers.empty()) {
            Answer(message, answers[asked_[opcode]++ % answers.size()]);
        } else if (opcode == krcp::readFru) {
            static const Bytes record = test::sample("three-modules.fru");
            krcp::setRawBytes(message, record);
            krcp::setStatus(message, krcp::SUCCESS);
        } else {
            krcp::setStatus(message, krcp::NO_DATA);
        }
        const rapidjson::Value* const data = krcp::findData(message);
        if (opcode == krcp::interfaceCount && data != nullptr && data->IsUint64() &&
            data->GetUint64() > maxInterfaces) {
            krcp::setMember(message, "DA", rapidjson::Value(maxInterfaces));
        }
        return 1;
    }
    std::uint32_t SendRequest(CIExtensionModule* /*module*/, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override {
        return SendRequest(message, timeoutMs);
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t) override { return 1; }
    std::uint32_t GetHostKind() override { return 0; }

  private:
    static void Answer(CKrcpMessage& message, std::string_view line) {
        constexpr auto flags = rapidjson::kParseIterativeFlag;
        rapidjson::Document answer(&message.document.GetAllocator());
        answer.Parse<flags>(line.data(), line.size());
        if (krcp::findMember(answer, "SIP") != nullptr) {
            message.document.Parse<flags>(line.data(), line.size());
            return;
        }
        for (const char* const key : {"ST", "DA"}) {
            if (!answer.HasParseError() && krcp::findMember(answer, key) != nullptr) {
                krcp::setMember(message, key, std::move(answer[key]));
            }
        }
    }

    std::map<std::uint16_t, std::vector<std::string_view>> answers_;
    std::map<std::uint16_t, std::size_t> asked_;
    Bytes written_;
};

struct SampleMachine {
    CFakeMachine machine;
    std::vector<DeviceToAdaptersMap> devices;

    SampleMachine() {
        test::buildSampleMachine(machine);
        devices = groupByDevice(machine.Scan());
    }
};

SampleMachine& sampleMachine() {
    static SampleMachine machine;
    return machine;
}

std::vector<LocalPniAdapterHandle> collectAdapters(CAnsweringHost& host,
                                                   UncollectedDevices* uncollected) {
    const auto shared = std::make_shared<SharedHostInterfaces>();
    std::vector<LocalPniAdapterHandle> adapters;
    for (const DeviceToAdaptersMap& device : sampleMachine().devices) {
        if (device.Id().bus != 0 && host.Events().deviceRemoved) {
            continue;
        }
        adapters.emplace_back(device, &host, 0, shared);
        if (!adapters.back().HasAdapter()) {
            if (uncollected != nullptr) {
                uncollected->devices.push_back(device.Id());
            }
            adapters.pop_back();
        }
    }
    return adapters;
}

void updateModules(CAnsweringHost& host, CPniFruData& record) {
    const Bytes before = record.GetImage();
    bool isUpdated = false;
    try {
        isUpdated = UpdateInventoryStructure(
            record, host.Events(), [&host](auto* list) { return collectAdapters(host, list); });
    } catch (const std::exception&) {
        // The flags stay set.
    }
    require(record.IsValid(), "modules come and go in a valid record");
    require(isUpdated || record.GetImage() == before, "all of them or none");
}

Bytes replaceAddresses(CAnsweringHost& host, CPniFruData& record) {
    host.Rewind();
    ReplaceIpAddresses(CNetworkRequests(&host, 0), record);
    require(record.IsValid(), "a valid record stays valid");
    return record.GetImage();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CAnsweringHost host({reinterpret_cast<const char*>(data), size});
    CPniExtModule module(
        PniPlaces{.config = {.currentDirectory = "/nowhere",
                             .programDirectory = "/nowhere",
                             .dataRoot = "/nowhere"},
                  .dumpFile = "/nowhere/dump"},
        std::shared_ptr<CMachine>(std::shared_ptr<void>(), &sampleMachine().machine.Machine()));
    module.Start(&host, 0);
    CPniFruData record;
    if (!module.RequestPniFruData(record) || !record.IsValid()) {
        return 0;
    }
    updateModules(host, record);
    try {
        CheckPhysicalAddrs(record, [&host](auto* list) { return collectAdapters(host, list); });
    } catch (const std::exception&) {
        return 0;  // ends the cycle
    }
    const Bytes once = replaceAddresses(host, record);
    require(replaceAddresses(host, record) == once, "the same answers lead to the same bytes");
    (void)module.WritePniDataOnThisMachine(record);
    require(host.Written().size() >= once.size() &&
                std::equal(once.begin(), once.end(), host.Written().begin()),
            "the record is written whole");
    return 0;
}
