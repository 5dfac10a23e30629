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
    const CRecursiveLockGuard guard(threadLock_);
    if (updateThread_.IsAlive()) {
        return;  // Stop has given up on it; it ends after its cycle
    }
    StopThread = false;
    updateThread_.Start(threadPriority, false, 0, true, false);
}

void CPniExtModule::StopUpdateThread() {
    const CRecursiveLockGuard guard(threadLock_);
    if (updateThread_.IsAlive()) {
        StopThread = true;
        UpdateEvent.Set();
        updateThread_.WaitForTermination(stopTimeout);
    }
}

std::uint32_t CPniExtModule::UpdateThread(void* module) {
    guarded("the PNI update thread",
            [module] { static_cast<CPniExtModule*>(module)->RunUpdateCycles(); });
    PNI_TRACE(1, "THREAD_RETURN: ## INFO: Thread = 0x%08X exited, Return = 0x%08x##\n",
              static_cast<unsigned>(pthread_self()), 0U);
    return 0;
}

void CPniExtModule::RunUpdateCycles() {
    std::optional<CPniFruData> copy;
    int retries = hotplugRetries;
    do {
        const std::uint32_t eventsBefore = eventsNoted_;
        guarded("an update cycle", [&] { RunUpdateCycle(copy); });
        if (IsHotplugPending() && retries > 0) {
            PNI_TRACE(3,
                      "\nEM_PNI              : Hotplug event detected during "
                      "UpdatePlatformNetworkInventory(), event not reset! Retry %d more time(s).",
                      retries);
            --retries;
            UpdateEvent.Set();  // the next cycle starts at once
            continue;
        }
        UpdateEvent.Reset();
        retries = hotplugRetries;
        // Reset may have removed a signal that came during the cycle.
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
        // When the scan of the machine fails, its exception ends the cycle here. The record is
        // not changed yet.
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
    // Allocate before the write: the cached record must not differ from what was written.
    std::vector<std::uint8_t> written = copy.GetImage();
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
