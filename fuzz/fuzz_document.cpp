// Any JSON text as a command document: as a request, as an event, and as the host's answer. Also
// any text as the configuration. All messages are traced.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "pni/pni_ext_module.h"

using namespace em_pni;

namespace {

class CEchoHost final : public CIConfiguringHostInterface {
  public:
    explicit CEchoHost(const std::string& text) : text_(text) {}
    std::uint32_t SendRequest(CIExtensionModule*, CKrcpMessage& message, std::uint32_t) override {
        message.document.Parse<rapidjson::kParseIterativeFlag>(text_.data(), text_.size());
        return 1;
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t) override { return 1; }
    std::uint32_t GetHostKind() override { return configuringHostKind; }
    const char* GetModuleConfig() override { return text_.c_str(); }
    std::uint32_t GetTraceLevel() override { return 2; }
    void OnTraceLine(const char* line) override {
        fuzz::require(!std::string_view(line).ends_with('\n'), "a line has no newline at its end");
    }

  private:
    const std::string& text_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    CEchoHost host(text);
    CPniExtModule module(PniPlaces{
        .config = {.currentDirectory = "/nowhere", .programDirectory = "/nowhere", .dataRoot = ""},
        .dumpFile = "/nowhere/dump"});
    module.Start(&host, 0);
    for (const std::uint32_t index : {0U, 1U}) {
        CKrcpMessage message;
        message.index = index;
        message.document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
        module.ModuleReply(message);
        module.ModuleRequest(message);
        fuzz::require(krcp::findCommand(message, index) == nullptr ||
                          krcp::status(message) <= krcp::OBJ_WRITEONLY,
                      "a request gets a status of its own");
    }
    return 0;
}
