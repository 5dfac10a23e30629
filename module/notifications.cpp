#include "module/extension_module.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// The name of a notification that is only announced; null for those with more to them.
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

}  // namespace em_pni
