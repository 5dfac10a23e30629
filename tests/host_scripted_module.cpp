// A module that changes the record on any machine. It runs a cycle at its start and for each event:
// it adds 1 to the first byte of the record, or 10, 20 or 30 for a device event, by its action, and
// writes the record. For a record that begins with 'X' it sends a write without data. When the
// second byte is 'S', it also writes in Stop, unless the shutdown was announced. Its inventory is
// the first byte and, after a write, the period from the configuration of the host.
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "em_pni/em_pni.h"
#include "module/extension_module.h"
#include "platform/profile_file.h"

namespace {

using namespace em_pni;

class CScriptedModule final : public CExtensionModule {
  public:
    ~CScriptedModule() override { Join(); }
    std::uint32_t GetModuleInfo(void* /*block*/) override { return 1; }
    std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) override {
        const std::uint32_t result = CExtensionModule::Start(host, instance);
        const char* const config = GetModuleConfig();
        period_ = CProfileText(config != nullptr ? config : "")
                      .Find("EM_PNI", "FruUpdateCycle")
                      .value_or("none");
        return result;
    }
    std::uint32_t Stop() override {
        Join();
        if (!SwitchShutdown && record_.size() > 1 && record_[1] == 'S') {
            Cycle(1);
        }
        return 1;
    }
    std::uint32_t OnSwitchStarted() override {
        Join();
        {
            const std::lock_guard guard(lock_);
            record_.clear();
        }
        thread_ = std::thread([this] { Cycle(1); });
        return 1;
    }
    void ModuleReply(CKrcpMessage& reply) override {
        if (krcp::status(reply) != krcp::EVENT_MESSAGE) {
            return;
        }
        if (krcp::opcode(reply) == krcp::ipAddressChanged) {
            Cycle(1);
        } else if (krcp::opcode(reply) == krcp::deviceDataChanged) {
            Cycle(10 * (1 + krcp::GetValue(reply, reply.index, "DA", 9)));
        }
    }
    std::uint32_t ModuleRequest(CKrcpMessage& request) override {
        if (!Accept(request)) {
            return 0;
        }
        const std::lock_guard guard(lock_);
        Fetch();
        auto& allocator = request.document.GetAllocator();
        rapidjson::Value module(rapidjson::kObjectType);
        module.AddMember("ModuleId", 0, allocator);
        module.AddMember("FirstByte", record_.empty() ? -1 : record_.front(), allocator);
        if (written_) {
            module.AddMember("Period", rapidjson::Value(period_.c_str(), allocator), allocator);
        }
        rapidjson::Value modules(rapidjson::kArrayType);
        modules.PushBack(module, allocator);
        rapidjson::Value inventory(rapidjson::kObjectType);
        inventory.AddMember("Modules", modules, allocator);
        krcp::setMember(request, "DA", std::move(inventory));
        krcp::setStatus(request, krcp::SUCCESS);
        return 1;
    }

  private:
    void Join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    void Fetch() {
        if (record_.empty()) {
            CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
            SendRequest(read, 1000);
            krcp::copyRawBytes(read, record_);
        }
    }
    void Cycle(std::int64_t step) {
        const std::lock_guard guard(lock_);
        Fetch();
        std::vector<std::uint8_t> copy = record_;
        copy.at(0) = static_cast<std::uint8_t>(copy.at(0) + step);
        CKrcpMessage write = krcp::makeRequest(krcp::writeFru, krcp::pniFruExtension, 0, 0);
        if (record_.at(0) != 'X') {
            krcp::setRawBytes(write, copy);
        }
        SendRequest(write, 1000);
        if (krcp::isSuccess(krcp::status(write))) {
            record_ = copy;
            written_ = true;
        }
    }

    std::string period_;
    std::thread thread_;
    std::mutex lock_;
    std::vector<std::uint8_t> record_;  // lock_ guards record_ and written_
    bool written_ = false;
};

CScriptedModule* theModule = nullptr;

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

bool EM_Create(em_pni::CIExtensionModule** module, void* /*ignored*/) {
    theModule = new CScriptedModule;
    *module = theModule;
    return true;
}

std::uint32_t EM_Delete() {
    delete theModule;
    theModule = nullptr;
    return 1;
}

const char* EM_GetModuleName() {
    return PNI_TEST_MODULE_NAME;
}
}
#pragma GCC visibility pop
