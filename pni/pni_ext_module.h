// The module object. It keeps the controller's record up to date and answers requests about it.
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

// Paths of files that the module uses.
struct PniPlaces {
    ModuleConfigPlaces config;
    std::string dumpFile = "/opt/QuillonRT/tmp/pnidump";
};

// The host's threads call the virtual functions. The module has one thread, the update thread. It
// runs from OnSwitchStarted to Stop and works on its own copy of the record. It never holds
// FruDataLock and HotplugLock together.
class CPniExtModule final : public CExtensionModule {
  public:
    explicit CPniExtModule(PniPlaces places = {},
                           std::shared_ptr<CMachine> machine = std::make_shared<CMachine>());
    // Waits until the update thread has ended, without a limit.
    ~CPniExtModule() override;

    std::uint32_t GetModuleInfo(void* block) override;
    std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) override;
    // Asks the update thread to end and waits at most 5 seconds.
    std::uint32_t Stop() override;
    // Reads the record. When it is valid, starts the update thread. The thread completes its first
    // cycle even when Stop follows at once.
    std::uint32_t OnSwitchStarted() override;
    void ModuleReply(CKrcpMessage& reply) override;
    std::uint32_t ModuleRequest(CKrcpMessage& request) override;
    const char* GetModuleName() override { return "EM_PNI"; }

    // The next two functions take FruDataLock and wait for the host.
    // Reads the controller's record and cuts it to its valid size. Stores an invalid record
    // unchanged. Returns false and does not change `record` when the host sends no data.
    bool RequestPniFruData(CPniFruData& record);
    // Writes a valid record to the controller, padded with zeros to the size first received. After
    // the notification of a switch shutdown, returns true and writes nothing.
    bool WritePniDataOnThisMachine(const CPniFruData& record);

  private:
    static constexpr std::uint32_t defaultUpdateCycle = 120000;  // milliseconds
    static constexpr std::uint32_t onEventsOnly = CEvent::forever;
    static constexpr int hotplugRetries = 2;

    void FetchAndStartThread();

    // pni_ext_module_requests.cpp
    bool AnswerRequest(CKrcpMessage& request);
    bool AnswerReadPniData(CKrcpMessage& request) PNI_REQUIRES(FruDataLock);

    // pni_ext_module_events.cpp
    void HandleEvent(const CKrcpMessage& event);
    void NoteHotplug(const CKrcpMessage& event);
    void ClearNetworkSnapshot();
    void WakeUpdateThread() noexcept;

    // pni_ext_module_thread.cpp
    static std::uint32_t UpdateThread(void* module);
    void StartUpdateThread();
    void StopUpdateThread();
    void RunUpdateCycles();
    // The first call makes the copy.
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
    // The cached record: as last read from the controller or written to it.
    CPniFruData record_ PNI_GUARDED_BY(FruDataLock);
    // Take this lock before any other. The update thread never takes it.
    CRecursiveLock threadLock_;
    CThread updateThread_ PNI_GUARDED_BY(threadLock_);
    CEvent UpdateEvent{"", true, false};                            // manual reset
    std::atomic<std::uint32_t> FruUpdateCycle{defaultUpdateCycle};  // milliseconds
    std::atomic<bool> StopThread{false};
    CRecursiveLock HotplugLock;
    bool deviceAdded_ PNI_GUARDED_BY(HotplugLock) = false;
    bool deviceRemoved_ PNI_GUARDED_BY(HotplugLock) = false;
    // Size of the record as last received, before the cut, in bytes.
    std::uint64_t InitialFruSize PNI_GUARDED_BY(FruDataLock) = 0;
    // Counts the events of the host. The reset of UpdateEvent at the end of a cycle must not lose
    // an event that came during the cycle.
    std::atomic<std::uint32_t> eventsNoted_{0};
};

}  // namespace em_pni
