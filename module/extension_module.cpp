#include "module/extension_module.h"

#include "module/krcp_trace.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::uint32_t agentlessServiceKind = 5;

// Of the process, not of the module object: it outlives a module that is created anew.
std::atomic<std::int32_t> cabinetNumber{0};

}  // namespace

std::uint32_t CExtensionModule::GetModuleInfo(void*) {
    return 0;
}

std::uint32_t CExtensionModule::Init() {
    return 1;
}

std::uint32_t CExtensionModule::Start(CIHostInterface* host, std::uint32_t instance) {
    host_ = host;
    instance_ = instance;
    if (trace::isOn(4)) {
        const char* const source = GetHostKind() == agentlessServiceKind
                                       ? "Quillon Agentless Service"
                                       : "Quillon Host Steward";
        PNI_TRACE(4, "\n%-20s: Register event log source \"%s\" ...", GetModuleName(), source);
        PNI_TRACE(4, "\n%-20s: ... event log source \"%s\" registered", GetModuleName(), source);
    }
    return 1;
}

std::uint32_t CExtensionModule::Stop() {
    return 1;
}

std::uint32_t CExtensionModule::OnSwitchStarted() {
    return 0;
}

void CExtensionModule::ModuleReply(CKrcpMessage&) {}

std::uint32_t CExtensionModule::ModuleRequest(CKrcpMessage& request) {
    krcp::setStatus(request, krcp::INVALID_CMD);
    return 0;
}

std::uint32_t CExtensionModule::SetCabinetNumber(std::int32_t number) {
    cabinetNumber = number;
    PNI_TRACE(2, "\n\n%-20s: ## Server cabinet number = %d ##\n", GetModuleName(), number);
    return 1;
}

std::uint32_t CExtensionModule::OnModuleNotification(std::uint32_t, std::uint32_t) {
    return 0;
}

std::int32_t CExtensionModule::CabinetNumber() noexcept {
    return cabinetNumber;
}

std::uint32_t CExtensionModule::SwitchStartFinished(std::uint32_t value) {
    CIHostInterface* const host = host_;
    return host != nullptr ? host->SwitchStartFinished(this, value) : 0;
}

std::uint32_t CExtensionModule::GetHostKind() {
    CIHostInterface* const host = host_;
    return host != nullptr ? host->GetHostKind() : 0;
}

const char* CExtensionModule::GetModuleConfig() {
    CIHostInterface* const host = host_;
    if (host == nullptr || host->GetHostKind() != configuringHostKind) {
        return nullptr;
    }
    return static_cast<CIConfiguringHostInterface*>(host)->GetModuleConfig();
}

std::uint32_t CExtensionModule::SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) {
    CIHostInterface* const host = host_;
    if (host == nullptr) {
        krcp::setStatus(message, krcp::EXEC_FAILED);
        return 0;
    }
    const rapidjson::Value* const command = krcp::findCommand(message, message.index);
    if (command != nullptr && krcp::findMember(*command, "CA") == nullptr) {
        krcp::setMember(message, "CA", krcp::number(CabinetNumber()));
    }
    krcp::traceMessage(2, GetModuleName(), " (REQ)", message);
    const std::uint32_t result = host->SendRequest(this, message, timeoutMs);
    krcp::traceMessage(2, GetModuleName(), " (RET)", message);
    return result;
}

}  // namespace em_pni
