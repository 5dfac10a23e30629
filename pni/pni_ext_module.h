// The module object. It keeps the controller's record up to date and answers requests about it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/local_pni_adapter_handle.h"
#include "devscan/machine.h"
#include "frudata/pni_fru_data.h"
#include "module/extension_module.h"
#include "module/module_config.h"
#include "platform/event.h"
#include "platform/recursive_lock.h"
#include "platform/thread.h"
#include "pni/hotplug_update.h"

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
    // Ends the update thread and waits for it: at most for the request that it is waiting for.
    ~CPniExtModule() override;

    std::uint32_t GetModuleInfo(void* block) override;
    std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) override;
    // Asks the update thread to end and waits at most 5 seconds. A cycle that takes longer sends no
    // more requests and writes nothing. No thread starts for an OnSwitchStarted that is under way.
    std::uint32_t Stop() override;
    // Reads the record. When it is valid, starts an update thread of its own. The thread completes
    // its first cycle even when Stop follows at once. A thread of an earlier start writes nothing
    // from now on.
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

    // One start of the update thread. It carries the requests of the thread.
    struct UpdateRun final : CKrcpConnection {
        explicit UpdateRun(CPniExtModule& owner)
            : module(owner), thread(&CPniExtModule::UpdateThread, this) {}

        // Once the run is cancelled: sets the status EXEC_FAILED and sends nothing.
        std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override;

        CPniExtModule& module;
        std::atomic<bool> StopThread{false};   // leave after this cycle
        std::atomic<bool> isCancelled{false};  // end this cycle without a request and a write
        CThread thread;
    };

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
    static std::uint32_t UpdateThread(void* run);
    // Starts nothing when Stop was called after it had been called `stopsBefore` times.
    void StartUpdateThread(std::uint32_t stopsBefore);
    void StopUpdateThread();
    void RunUpdateCycles(UpdateRun& run);
    // The first call makes the copy.
    void RunUpdateCycle(UpdateRun& run, std::optional<CPniFruData>& copy);
    void ApplyHotplug(UpdateRun& run, CPniFruData& copy);
    // Returns false when the update has to be tried again.
    bool UpdatePlatformNetworkInventoryStructure(UpdateRun& run, const HotplugFlags& flags,
                                                 CPniFruData& record);
    void UpdateIpAddresses(UpdateRun& run, CPniFruData& record);
    [[nodiscard]] AdapterSource Adapters(UpdateRun& run);
    void WriteBackWhenModified(const UpdateRun& run, const CPniFruData& copy);
    [[nodiscard]] bool IsHotplugPending();
    [[nodiscard]] bool WaitForNextCycle(const UpdateRun& run);

    const PniPlaces places_;
    const std::shared_ptr<CMachine> machine_;
    CRecursiveLock FruDataLock;
    // The cached record: as last read from the controller or written to it.
    CPniFruData record_ PNI_GUARDED_BY(FruDataLock);
    // Take this lock before any other. The update thread never takes it.
    CRecursiveLock threadLock_;
    // The last one belongs to the last start. Earlier ones still wait for an answer of the host.
    std::vector<std::unique_ptr<UpdateRun>> runs_ PNI_GUARDED_BY(threadLock_);
    std::atomic<std::uint32_t> stops_{0};                           // calls of Stop
    CEvent UpdateEvent{"", true, false};                            // manual reset
    std::atomic<std::uint32_t> FruUpdateCycle{defaultUpdateCycle};  // milliseconds
    CRecursiveLock HotplugLock;
    HotplugFlags hotplug_ PNI_GUARDED_BY(HotplugLock);
    // Size of the record as last received, before the cut, in bytes.
    std::uint64_t InitialFruSize PNI_GUARDED_BY(FruDataLock) = 0;
    // Counts the events of the host. The reset of UpdateEvent at the end of a cycle must not lose
    // an event that came during the cycle.
    std::atomic<std::uint32_t> eventsNoted_{0};
};

}  // namespace em_pni
