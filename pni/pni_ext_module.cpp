#include "pni/pni_ext_module.h"

#include <cstring>
#include <new>
#include <utility>

#include "em_pni/module_description.h"
#include "platform/trace.h"
#include "pni/guarded.h"

namespace em_pni {
namespace {

constexpr const char* dashes =
    "------------------------------------------------------------------------------------------";
constexpr const char* description = "Platform Network Inventory extension module";
constexpr std::uint32_t interfaceLevel = 3;
constexpr std::uint32_t shortestConfigurableCycle = 60000;  // milliseconds

void setLowBits(unsigned char& byte, unsigned char value) noexcept {
    byte = static_cast<unsigned char>((byte & ~0x03U) | value);
}

// Writes a text field and clears the reserved bytes after it.
void setText(unsigned char* field, const char* text) noexcept {
    std::memset(field, 0, ModuleDescription::textSize + ModuleDescription::reservedSize);
    std::memcpy(field, text, ::strnlen(text, ModuleDescription::textSize - 1));
}

}  // namespace

CPniExtModule::CPniExtModule(PniPlaces places, std::shared_ptr<CMachine> machine)
    : places_(std::move(places)), machine_(std::move(machine)) {
    if (!UpdateEvent.IsValid()) {
        throw std::bad_alloc();
    }
    PNI_TRACE(3, "\nEM_PNI              : CLASS CREATED!");
}

CPniExtModule::~CPniExtModule() {
    PNI_TRACE(1, "\nEM_PNI              : CLASS DESTROYED!");
    const CRecursiveLockGuard guard(threadLock_);
    for (const auto& run : runs_) {
        run->StopThread = true;
        run->isCancelled = true;
    }
    UpdateEvent.Set();
    for (const auto& run : runs_) {
        if (run->thread.IsJoinable()) {
            run->thread.WaitForTermination();
        }
    }
}

std::uint32_t CPniExtModule::GetModuleInfo(void* block) {
    std::uint32_t size = 0;
    auto* const bytes = static_cast<unsigned char*>(block);
    if (bytes != nullptr) {
        std::memcpy(&size, bytes + ModuleDescription::blockSize, sizeof size);
    }
    if (size < ModuleDescription::size) {
        PNI_TRACE(2, "\nEM_PNI              : ERROR! PNI structure size is invalid.");
        return 0;
    }
    PNI_TRACE(2, "\nEM_PNI              : PNI structure size validated.");
    setLowBits(bytes[ModuleDescription::kindBits], 2);
    setLowBits(bytes[ModuleDescription::moreKindBits], 1);
    std::memcpy(bytes + ModuleDescription::interfaceLevel, &interfaceLevel, sizeof interfaceLevel);
    setText(bytes + ModuleDescription::name, GetModuleName());
    setText(bytes + ModuleDescription::description, description);
    return 1;
}

std::uint32_t CPniExtModule::Start(CIHostInterface* host, std::uint32_t instance) {
    return guarded("Start", std::uint32_t{1}, [&] {
        PNI_TRACE(1, "\n\n%s", dashes);
        PNI_TRACE(1, "\nEM_PNI              : ### Starting module ###\n");
        CExtensionModule::Start(host, instance);
        const auto configured = readModuleProperty(GetModuleConfig(), places_.config,
                                                   GetModuleName(), "FruUpdateCycle");
        // The test of the stored period is intended: the first start accepts any value.
        if (configured && FruUpdateCycle >= shortestConfigurableCycle) {
            FruUpdateCycle = *configured;
        }
        if (FruUpdateCycle == onEventsOnly) {
            PNI_TRACE(3,
                      "\nEM_PNI              : PNI FRU IP address update check is done on "
                      "CM_NetworkInfoIpAddressChanged KRCP event");
        } else {
            PNI_TRACE(3,
                      "\nEM_PNI              : PNI FRU IP address update check is done every %u "
                      "msec",
                      FruUpdateCycle.load());
        }
        PNI_TRACE(1, "\n\nEM_PNI              : ### Start of module completed %s ###",
                  "successfully");
        PNI_TRACE(1, "\nEM_PNI              :%s\n", dashes);
        return std::uint32_t{1};
    });
}

std::uint32_t CPniExtModule::OnSwitchStarted() {
    PNI_TRACE(1, "\n%s", dashes);
    PNI_TRACE(1, "\n### OnSwitchStarted of %s ###\n", GetModuleName());
    guarded("OnSwitchStarted", [this] { FetchAndStartThread(); });
    // The host waits for this call of every module: make it also after a failure.
    return guarded("OnSwitchStarted", std::uint32_t{0}, [this] { return SwitchStartFinished(0); });
}

void CPniExtModule::FetchAndStartThread() {
    const std::uint32_t stopsBefore = stops_;
    // A thread of an earlier start works on the record of that start.
    StopUpdateThread();
    bool isValid = false;
    {
        const CRecursiveLockGuard guard(FruDataLock);
        record_.SetImage({});  // after a failed fetch the module must not use an older record
        RequestPniFruData(record_);
        isValid = record_.IsValid();
    }
    if (isValid) {
        PNI_TRACE(2,
                  "\nEM_PNI              : PNI structure is valid. Starting a PNI FRU data update "
                  "thread.");
        StartUpdateThread(stopsBefore);
    }
}

std::uint32_t CPniExtModule::Stop() {
    return guarded("Stop", std::uint32_t{1}, [&] {
        PNI_TRACE(1, "\n%s", dashes);
        PNI_TRACE(1, "\n### Stopping module %s ###\n", GetModuleName());
        CExtensionModule::Stop();
        ++stops_;
        StopUpdateThread();
        PNI_TRACE(1, "\n\n### Stop of module %s completed successfully ###", GetModuleName());
        PNI_TRACE(1, "\n%s", dashes);
        return std::uint32_t{1};
    });
}

}  // namespace em_pni
