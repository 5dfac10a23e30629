#include "module/extension_module.h"

#include <algorithm>

#include "module/krcp_trace.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::uint32_t agentlessServiceKind = 5;

// Belongs to the process: a module that is created later has the same number.
std::atomic<std::int32_t> cabinetNumber{0};

int traceLevel(std::uint32_t level) noexcept {
    return static_cast<int>(std::min<std::uint32_t>(level, 9));
}

// The name of a power state notification; null for any other code.
const char* powerStateName(std::uint32_t code) noexcept {
    switch (code) {
        case notification::powerStateSuspend:
            return "SCN_POWERSTATE_SUSPEND";
        case notification::powerStateStandby:
            return "SCN_POWERSTATE_STANDBY";
        case notification::powerStateResume:
            return "SCN_POWERSTATE_RESUME";
        case notification::powerStateAcOffline:
            return "SCN_POWERSTATE_AC_OFFLINE";
        case notification::powerStateAcOnline:
            return "SCN_POWERSTATE_AC_ONLINE";
        default:
            return nullptr;
    }
}

}  // namespace

CExtensionModule::~CExtensionModule() {
    setTraceSink(nullptr, 0);
}

std::uint32_t CExtensionModule::GetModuleInfo(void*) {
    return 0;
}

std::uint32_t CExtensionModule::Init() {
    return 1;
}

std::uint32_t CExtensionModule::Start(CIHostInterface* host, std::uint32_t instance) {
    host_ = host;
    instance_ = instance;
    CIConfiguringHostInterface* const configuring = ConfiguringHost();
    traceHost_ = configuring;
    setTraceSink(this, configuring != nullptr ? traceLevel(configuring->GetTraceLevel()) : 0);
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

std::uint32_t CExtensionModule::Notify(std::uint32_t code, std::uint32_t param) {
    const char* const name = GetModuleName();
    PNI_TRACE(2, "\n\n%-20s: ## NOTIFY: Code = 0Xx%02X, param = 0x%08X", name, code, param);
    if (code == notification::switchShutdown) {
        PNI_TRACE(1, "\n%-20s: *** SCN_SWITCH_SHUTDOWN *** \n", name);
        PNI_TRACE(3, "\n%-20s: -> SWITCH shutdown notification, set SwitchShutdown flag", name);
        SwitchShutdown = true;
    } else if (code == notification::switchRequestEnabled) {
        PNI_TRACE(1, "\n%-20s: *** SCN_SWITCH_REQUEST_ENABLED *** \n", name);
        PNI_TRACE(3, "\n%-20s: -> SWITCH start completed (all layers started) - requests enabled",
                  name);
    } else if (code == notification::systemShutdown) {
        PNI_TRACE(1, "\n%-20s: *** SCN_SYSTEM_SHUTDOWN *** \n", name);
        PNI_TRACE(3, "\n%-20s: -> System shutdown", name);
    } else if (const char* const powerState = powerStateName(code)) {
        PNI_TRACE(1, "\n%-20s: *** %s *** \n", name, powerState);
    }
    PNI_TRACE(4, "\n%-20s:   call OnModuleNotification()...", name);
    const std::uint32_t result = OnModuleNotification(code, param);
    PNI_TRACE(4, "\n%-20s:   ... OnModuleNotification() completed", name);
    return result;
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

CIConfiguringHostInterface* CExtensionModule::ConfiguringHost() {
    CIHostInterface* const host = host_;
    const bool isConfiguring = host != nullptr && host->GetHostKind() == configuringHostKind;
    return isConfiguring ? static_cast<CIConfiguringHostInterface*>(host) : nullptr;
}

const char* CExtensionModule::GetModuleConfig() {
    CIConfiguringHostInterface* const host = ConfiguringHost();
    return host != nullptr ? host->GetModuleConfig() : nullptr;
}

void CExtensionModule::OnTraceLine(const char* line) {
    if (CIConfiguringHostInterface* const host = traceHost_) {
        host->OnTraceLine(line);
    }
}

bool CExtensionModule::Accept(CKrcpMessage& message) {
    const InterfaceTag tag = message.tag;
    if (krcp::accept(message)) {
        return true;
    }
    PNI_TRACE(1, "\n%-20s: ERROR! Message of the host refused: %s", GetModuleName(),
              tagDifference(tag).c_str());
    return false;
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
    if (!krcp::isReadable(message)) {
        PNI_TRACE(1, "\n%-20s: ERROR! Message refused by the host: %s", GetModuleName(),
                  tagDifference(message.tag).c_str());
        message.tag = interfaceTag;  // the document is not changed: a message without an answer
    }
    krcp::traceMessage(2, GetModuleName(), " (RET)", message);
    return result;
}

}  // namespace em_pni
