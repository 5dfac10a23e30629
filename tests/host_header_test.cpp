// Compiled with the public headers and RapidJSON only: a host needs no other header. netdb.h has
// macros with names of ours; they must not disturb.
#include <netdb.h>

#include "em_pni/em_pni.h"

namespace {

class CMinimalHost final : public em_pni::CIHostInterface {
  public:
    std::uint32_t SendRequest(em_pni::CIExtensionModule*, em_pni::CKrcpMessage& message,
                              std::uint32_t) override {
        return em_pni::krcp::setStatus(message, em_pni::krcp::SUCCESS) ? 1 : 0;
    }
    std::uint32_t SwitchStartFinished(em_pni::CIExtensionModule*, std::uint32_t) override {
        return 1;
    }
    std::uint32_t GetHostKind() override { return 0; }
};

}  // namespace

std::uint32_t useEverything(em_pni::EM_CreateFunction create) {
    CMinimalHost host;
    em_pni::CModuleDescription description;
    em_pni::CIExtensionModule* module = nullptr;
    return create(&module, nullptr) ? module->GetModuleInfo(description.Data()) +
                                          module->Start(&host, description.InterfaceLevel())
                                    : 0;
}
