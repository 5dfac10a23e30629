// The module object: keeps the controller's record in step with the machine and answers for it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "adapters/local_pni_adapter_handle.h"
#include "devscan/machine.h"
#include "frudata/pni_fru_data.h"
#include "module/extension_module.h"
#include "module/module_config.h"
#include "platform/event.h"
#include "platform/recursive_lock.h"
#include "platform/thread.h"

namespace em_pni {

// Paths of the machine that the module uses.
struct PniPlaces {
    ModuleConfigPlaces config;
    std::string dumpFile = "/opt/QuillonRT/tmp/pnidump";
};

// The host's threads call the virtual operations; the update thread, the only one of the module,
// runs from OnSwitchStarted to Stop and works on a copy of the record of its own. The thread never
// holds FruDataLock and HotplugLock together.
class CPniExtModule final : public CExtensionModule {
  public:
    explicit CPniExtModule(PniPlaces places = {},
                           std::shared_ptr<CMachine> machine = std::make_shared<CMachine>());
    // Waits for the update thread, also where Stop has given up on it.
    ~CPniExtModule() override;

    std::uint32_t GetModuleInfo(void* block) override;
    std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) override;
    // Asks the thread to leave and waits up to 5 seconds.
    std::uint32_t Stop() override;
    // Reads the record and, when it is valid, starts the thread, whose first cycle runs to its end
    // also when Stop follows at once.
    std::uint32_t OnSwitchStarted() override;
    void ModuleReply(CKrcpMessage& reply) override;
    std::uint32_t ModuleRequest(CKrcpMessage& request) override;
    const char* GetModuleName() override { return "EM_PNI"; }

    // Both take FruDataLock and block while the host answers (record_transfer.cpp).
    // Fetches the controller's record and crops it; false, and `record` as it was, without data. An
    // invalid record is handed out as it came.
    bool RequestPniFruData(CPniFruData& record);
    // Writes a valid record, padded to the size first received. True also when the host is shutting
    // down its switch and nothing is written any more.
    bool WritePniDataOnThisMachine(const CPniFruData& record);

  private:
    static constexpr std::uint32_t defaultUpdateCycle = 120000;  // milliseconds
    static constexpr std::uint32_t onEventsOnly = CEvent::forever;
    static constexpr int hotplugRetries = 2;

    void FetchAndStartThread();

    // requests.cpp
    bool AnswerRequest(CKrcpMessage& request);
    bool AnswerReadPniData(CKrcpMessage& request) PNI_REQUIRES(FruDataLock);
    void HandleEvent(const CKrcpMessage& event);
    void NoteHotplug(const CKrcpMessage& event);
    void ClearNetworkSnapshot();
    void WakeUpdateThread() noexcept;

    // update_thread.cpp
    static std::uint32_t UpdateThread(void* module);
    void StartUpdateThread();
    void StopUpdateThread();
    void RunUpdateCycles();
    // Makes the copy when there is none yet.
    void RunUpdateCycle(std::optional<CPniFruData>& copy);
    void ApplyHotplug(CPniFruData& copy);
    void UpdatePlatformNetworkInventoryStructure(CPniFruData& record) PNI_REQUIRES(HotplugLock);
    void UpdateIpAddresses(CPniFruData& record);
    [[nodiscard]] AdapterSource Adapters();
    void WriteBackWhenModified(const CPniFruData& copy);
    [[nodiscard]] bool IsHotplugPending();
    [[nodiscard]] bool WaitForNextCycle();

    const PniPlaces places_;
    const std::shared_ptr<CMachine> machine_;
    CRecursiveLock FruDataLock;
    CPniFruData record_
        PNI_GUARDED_BY(FruDataLock);  // as last read from or written to the controller
    CRecursiveLock ThreadLock;        // taken before any other; never by the update thread
    CThread updateThread_ PNI_GUARDED_BY(ThreadLock);
    CEvent UpdateEvent{"", true, false};                            // manual reset
    std::atomic<std::uint32_t> FruUpdateCycle{defaultUpdateCycle};  // milliseconds
    std::atomic<bool> StopThread{false};
    CRecursiveLock HotplugLock;
    bool deviceAdded_ PNI_GUARDED_BY(HotplugLock) = false;
    bool deviceRemoved_ PNI_GUARDED_BY(HotplugLock) = false;
    // Bytes of the record as last received, before it was cropped.
    std::uint64_t InitialFruSize PNI_GUARDED_BY(FruDataLock) = 0;
    // Counts the events of the host, so that one that comes during a cycle is not lost with the
    // reset of UpdateEvent at its end.
    std::atomic<std::uint32_t> eventsNoted_{0};
};

}  // namespace em_pni
