#include "em_pni/krcp_message.h"
#include "module/krcp_trace.h"
#include "platform/trace.h"
#include "pni/guarded.h"
#include "pni/pni_ext_module.h"

namespace em_pni {
namespace {

constexpr std::uint32_t clearTimeout = 5000;  // milliseconds

bool isNonEmpty(const rapidjson::Value& data) noexcept {
    if (data.IsObject()) {
        return !data.ObjectEmpty();
    }
    if (data.IsArray()) {
        return !data.Empty();
    }
    return data.IsString() ? data.GetStringLength() > 0 : !data.IsNull();
}

}  // namespace

void CPniExtModule::ModuleReply(CKrcpMessage& reply) {
    guarded("ModuleReply", [&] {
        if (!Accept(reply)) {
            return;
        }
        krcp::traceMessage(2, GetModuleName(), " (RPL)", reply);
        if (krcp::status(reply) == krcp::EVENT_MESSAGE) {
            HandleEvent(reply);
        }
    });
}

void CPniExtModule::HandleEvent(const CKrcpMessage& event) {
    const std::uint16_t opcode = krcp::opcode(event);
    if (opcode == krcp::ipAddressChanged) {
        PNI_TRACE(2,
                  "\nEM_PNI    (REPLY)   : Received IP address change event "
                  "(CM_NetworkInfoIpAddressChanged)");
        ClearNetworkSnapshot();
        WakeUpdateThread();
    } else if (opcode == krcp::deviceDataChanged) {
        PNI_TRACE(2,
                  "\nEM_PNI    (REPLY)   : Received device changed (hotplug) event "
                  "(CM_DeviceInfoDeviceDataChanged)");
        ClearNetworkSnapshot();
        NoteHotplug(event);
        WakeUpdateThread();
    }
}

void CPniExtModule::NoteHotplug(const CKrcpMessage& event) {
    const std::int64_t action = krcp::GetValue(event, event.index, "DA", krcp::instanceAdded);
    const CRecursiveLockGuard guard(HotplugLock);
    switch (action) {
        case krcp::instanceAdded:
            PNI_TRACE(2, "\nEM_PNI    (REPLY)   : CMV_DEVINFO_INSTANCE_ADDED received.");
            hotplug_.deviceAdded = true;
            break;
        case krcp::instanceChanged:
            PNI_TRACE(2, "\nEM_PNI    (REPLY)   : CMV_DEVINFO_INSTANCE_CHANGED.");
            hotplug_.deviceAdded = true;
            break;
        case krcp::instanceRemoved:
            PNI_TRACE(2, "\nEM_PNI    (REPLY)   : CMV_DEVINFO_INSTANCE_REMOVED received.");
            hotplug_.deviceRemoved = true;
            break;
        default:
            PNI_TRACE(1,
                      "\nEM_PNI    (REPLY)   : ERROR # Invalid CM_DeviceInfoDeviceDataChanged "
                      "Action!");
            break;
    }
}

void CPniExtModule::ClearNetworkSnapshot() {
    // A failure does not stop the event.
    const bool isCleared = guarded("ClearNetworkSnapshot", false, [this] {
        CKrcpMessage message = krcp::makeRequest(krcp::clearNetworkSnapshot, 0, 0, CabinetNumber());
        SendRequest(message, clearTimeout);
        return krcp::hasData(message) && isNonEmpty(*krcp::findData(message));
    });
    if (isCleared) {
        PNI_TRACE(2, "\nEM_PNI    (REPLY)   : Network Interface Snapshot tree cleared!");
    } else {
        PNI_TRACE(2, "\nEM_PNI    (REPLY)   : Could not clear Network Interface Snapshot tree.");
    }
}

void CPniExtModule::WakeUpdateThread() noexcept {
    ++eventsNoted_;  // before Set: RunUpdateCycles compares it after its Reset
    UpdateEvent.Set();
}

}  // namespace em_pni
