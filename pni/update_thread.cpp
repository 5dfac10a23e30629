#include <optional>
#include <pthread.h>
#include <utility>
#include <vector>

#include "platform/trace.h"
#include "pni/guarded.h"
#include "pni/hotplug_update.h"
#include "pni/ip_update.h"
#include "pni/physical_check.h"
#include "pni/pni_ext_module.h"

namespace em_pni {
namespace {

constexpr int threadPriority = 63;
constexpr std::uint32_t stopTimeout = 5000;  // milliseconds

}  // namespace

void CPniExtModule::StartUpdateThread() {
    const CRecursiveLockGuard guard(ThreadLock);
    if (updateThread_.IsAlive()) {
        return;  // still in a cycle of an earlier start; it leaves at the end of that
    }
    StopThread = false;
    updateThread_.Start(threadPriority, false, 0, true, false);
}

void CPniExtModule::StopUpdateThread() {
    const CRecursiveLockGuard guard(ThreadLock);
    if (updateThread_.IsAlive()) {
        StopThread = true;
        UpdateEvent.Set();
        updateThread_.WaitForTermination(stopTimeout);
    }
}

std::uint32_t CPniExtModule::UpdateThread(void* module) {
    guarded("the PNI update thread", 0, [module] {
        static_cast<CPniExtModule*>(module)->RunUpdateCycles();
        return 0;
    });
    PNI_TRACE(1, "THREAD_RETURN: ## INFO: Thread = 0x%08X exited, Return = 0x%08x##\n",
              static_cast<unsigned>(pthread_self()), 0U);
    return 0;
}

void CPniExtModule::RunUpdateCycles() {
    std::optional<CPniFruData> copy;
    int retries = hotplugRetries;
    do {
        const std::uint32_t eventsBefore = eventsNoted_;
        guarded("an update cycle", 0, [&] {
            RunUpdateCycle(copy);
            return 0;
        });
        if (IsHotplugPending() && retries > 0) {
            PNI_TRACE(3,
                      "\nEM_PNI              : Hotplug event detected during "
                      "UpdatePlatformNetworkInventory(), event not reset! Retry %d more time(s).",
                      retries);
            --retries;
            UpdateEvent.Set();  // at once, also when this cycle began without an event
            continue;
        }
        UpdateEvent.Reset();
        retries = hotplugRetries;
        // What was signalled since the cycle began has just been reset with the rest.
        if (StopThread || eventsNoted_ != eventsBefore) {
            UpdateEvent.Set();
        }
    } while (WaitForNextCycle());
}

void CPniExtModule::RunUpdateCycle(std::optional<CPniFruData>& copy) {
    if (!copy) {
        const CRecursiveLockGuard guard(FruDataLock);
        copy.emplace(record_);
    }
    ApplyHotplug(*copy);
    UpdateIpAddresses(*copy);
    WriteBackWhenModified(*copy);
}

void CPniExtModule::ApplyHotplug(CPniFruData& copy) {
    const CRecursiveLockGuard guard(HotplugLock);
    if (!deviceAdded_ && !deviceRemoved_) {
        return;
    }
    try {
        UpdatePlatformNetworkInventoryStructure(copy);
    } catch (const std::exception& exception) {
        PNI_TRACE(3,
                  "\nEM_PNI              : CRITICAL ERROR! Exception when calling "
                  "UpdatePlatformNetworkInventoryStructure! %s",
                  exception.what());
    }
}

void CPniExtModule::UpdatePlatformNetworkInventoryStructure(CPniFruData& record) {
    PNI_TRACE(5, "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : Start.");
    if (SwitchShutdown) {
        PNI_TRACE(
            1,
            "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : ERROR! Shutdown "
            "of SWITCH initialized.");
        return;
    }
    if (!record.IsValid()) {
        PNI_TRACE(1,
                  "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : ERROR! Called "
                  "with invalid parameter PniFruData.");
        return;
    }
    const HotplugFlags flags{.deviceAdded = deviceAdded_, .deviceRemoved = deviceRemoved_};
    if (UpdateInventoryStructure(record, flags, Adapters())) {
        deviceAdded_ = false;
        deviceRemoved_ = false;
    }
}

void CPniExtModule::UpdateIpAddresses(CPniFruData& record) {
    if (SwitchShutdown) {
        return;
    }
    PNI_TRACE(3, "\nEM_PNI              : Start PNI update...");
    if (!record.IsValid()) {
        PNI_TRACE(1, "\nEM_PNI              : ERROR! Invalid PNI FRU data received!");
    } else {
        PNI_TRACE(3, "\nEM_PNI              : PNI FRU data are valid");
        // Should the scan of the machine fail, its exception ends the cycle here, before anything
        // of the record has changed.
        CheckPhysicalAddrs(record, Adapters());
        ReplaceIpAddresses(CNetworkRequests(this, CabinetNumber()), record);
    }
    PNI_TRACE(3, "\nEM_PNI              : ... PNI update done");
}

AdapterSource CPniExtModule::Adapters() {
    return [this](std::vector<DeviceToAdaptersMapID>* uncollected) {
        return LocalPniAdapterHandle::GetLocalNetworkAdapters(*machine_, this, CabinetNumber(),
                                                              uncollected);
    };
}

void CPniExtModule::WriteBackWhenModified(const CPniFruData& copy) {
    const CRecursiveLockGuard guard(FruDataLock);
    if (record_.HasSameImage(copy)) {
        PNI_TRACE(3, "\nEM_PNI              : PNI FRU record not modified");
        return;
    }
    std::vector<std::uint8_t> written = copy.GetImage();  // first: what has been written is kept
    if (WritePniDataOnThisMachine(copy)) {
        record_.SetImage(std::move(written));
        PNI_TRACE(3, "\nEM_PNI              : PNI FRU updated successfully.");
    }
}

bool CPniExtModule::IsHotplugPending() {
    const CRecursiveLockGuard guard(HotplugLock);
    return deviceAdded_ || deviceRemoved_;
}

bool CPniExtModule::WaitForNextCycle() {
    const int result = UpdateEvent.Wait(FruUpdateCycle);
    return !StopThread && (result == CEvent::signalled || result == CEvent::timedOut);
}

}  // namespace em_pni
