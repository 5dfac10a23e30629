#include <memory>
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

std::uint32_t CPniExtModule::UpdateRun::SendRequest(CKrcpMessage& message,
                                                    std::uint32_t timeoutMs) {
    if (isCancelled) {
        krcp::setStatus(message, krcp::EXEC_FAILED);
        return 0;
    }
    return module.SendRequest(message, timeoutMs);
}

void CPniExtModule::StartUpdateThread(std::uint32_t stopsBefore) {
    const CRecursiveLockGuard guard(threadLock_);
    StopUpdateThread();  // of a start on another thread of the host
    if (stops_ != stopsBefore) {
        return;
    }
    std::erase_if(runs_, [](const auto& run) { return !run->thread.IsAlive(); });
    runs_.push_back(std::make_unique<UpdateRun>(*this));
    runs_.back()->thread.Start(threadPriority, false, 0, true, false);
}

void CPniExtModule::StopUpdateThread() {
    const CRecursiveLockGuard guard(threadLock_);
    if (runs_.empty() || !runs_.back()->thread.IsAlive()) {
        return;
    }
    UpdateRun& run = *runs_.back();
    if (run.isCancelled) {
        return;
    }
    run.StopThread = true;
    UpdateEvent.Set();
    if (!run.thread.WaitForTermination(stopTimeout)) {
        run.isCancelled = true;
    }
}

std::uint32_t CPniExtModule::UpdateThread(void* argument) {
    UpdateRun& run = *static_cast<UpdateRun*>(argument);
    guarded("the PNI update thread", [&run] { run.module.RunUpdateCycles(run); });
    PNI_TRACE(1, "THREAD_RETURN: ## INFO: Thread = 0x%08X exited, Return = 0x%08x##\n",
              static_cast<unsigned>(pthread_self()), 0U);
    return 0;
}

void CPniExtModule::RunUpdateCycles(UpdateRun& run) {
    std::optional<CPniFruData> copy;
    int retries = hotplugRetries;
    do {
        const std::uint32_t eventsBefore = eventsNoted_;
        guarded("an update cycle", [&] { RunUpdateCycle(run, copy); });
        if (run.isCancelled) {
            return;  // UpdateEvent belongs to a later start
        }
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
        if (run.StopThread || eventsNoted_ != eventsBefore) {
            UpdateEvent.Set();
        }
    } while (WaitForNextCycle(run));
}

void CPniExtModule::RunUpdateCycle(UpdateRun& run, std::optional<CPniFruData>& copy) {
    if (!copy) {
        const CRecursiveLockGuard guard(FruDataLock);
        copy.emplace(record_);
    }
    ApplyHotplug(run, *copy);
    UpdateIpAddresses(run, *copy);
    WriteBackWhenModified(run, *copy);
}

void CPniExtModule::ApplyHotplug(UpdateRun& run, CPniFruData& copy) {
    const CRecursiveLockGuard guard(HotplugLock);
    if (!hotplug_.deviceAdded && !hotplug_.deviceRemoved) {
        return;
    }
    // The host may report an event on this thread, from inside a request: it sets the flags again.
    const HotplugFlags flags = std::exchange(hotplug_, HotplugFlags());
    bool isDone = false;
    try {
        isDone = UpdatePlatformNetworkInventoryStructure(run, flags, copy) && !run.isCancelled;
    } catch (const std::exception& exception) {
        PNI_TRACE(3,
                  "\nEM_PNI              : CRITICAL ERROR! Exception when calling "
                  "UpdatePlatformNetworkInventoryStructure! %s",
                  exception.what());
    }
    if (!isDone) {
        hotplug_.deviceAdded |= flags.deviceAdded;
        hotplug_.deviceRemoved |= flags.deviceRemoved;
    }
}

bool CPniExtModule::UpdatePlatformNetworkInventoryStructure(UpdateRun& run,
                                                            const HotplugFlags& flags,
                                                            CPniFruData& record) {
    PNI_TRACE(5, "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : Start.");
    if (SwitchShutdown) {
        PNI_TRACE(
            1,
            "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : ERROR! Shutdown "
            "of SWITCH initialized.");
        return false;
    }
    if (!record.IsValid()) {
        PNI_TRACE(1,
                  "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : ERROR! Called "
                  "with invalid parameter PniFruData.");
        return false;
    }
    return UpdateInventoryStructure(record, flags, Adapters(run));
}

void CPniExtModule::UpdateIpAddresses(UpdateRun& run, CPniFruData& record) {
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
        CheckPhysicalAddrs(record, Adapters(run));
        ReplaceIpAddresses(CNetworkRequests(&run, CabinetNumber()), record);
    }
    PNI_TRACE(3, "\nEM_PNI              : ... PNI update done");
}

AdapterSource CPniExtModule::Adapters(UpdateRun& run) {
    return [this, &run](UncollectedDevices* uncollected) {
        return LocalPniAdapterHandle::GetLocalNetworkAdapters(*machine_, &run, CabinetNumber(),
                                                              uncollected);
    };
}

void CPniExtModule::WriteBackWhenModified(const UpdateRun& run, const CPniFruData& copy) {
    const CRecursiveLockGuard guard(FruDataLock);
    if (run.isCancelled) {
        return;  // the record may belong to a later start, and the copy is not complete
    }
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
    return hotplug_.deviceAdded || hotplug_.deviceRemoved;
}

bool CPniExtModule::WaitForNextCycle(const UpdateRun& run) {
    const int result = UpdateEvent.Wait(FruUpdateCycle);
    return !run.StopThread && (result == CEvent::signalled || result == CEvent::timedOut);
}

}  // namespace em_pni
