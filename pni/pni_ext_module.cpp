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

// A text field and the reserved bytes behind it.
void setText(unsigned char* field, const char* text) noexcept {
    std::memset(field, 0, ModuleDescription::textSize + ModuleDescription::reservedSize);
    std::memcpy(field, text, ::strnlen(text, ModuleDescription::textSize - 1));
}

}  // namespace

CPniExtModule::CPniExtModule(PniPlaces places, std::shared_ptr<CMachine> machine)
    : places_(std::move(places)),
      machine_(std::move(machine)),
      updateThread_(&CPniExtModule::UpdateThread, this) {
    if (!UpdateEvent.IsValid()) {
        throw std::bad_alloc();
    }
    PNI_TRACE(3, "\nEM_PNI              : CLASS CREATED!");
}

CPniExtModule::~CPniExtModule() {
    PNI_TRACE(1, "\nEM_PNI              : CLASS DESTROYED!");
    StopThread = true;
    UpdateEvent.Set();
    const CRecursiveLockGuard guard(ThreadLock);
    if (updateThread_.IsJoinable()) {
        updateThread_.WaitForTermination();
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
        // It is the stored period that must be long enough: so the first start takes any value.
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
    guarded("OnSwitchStarted", 0, [this] {
        FetchAndStartThread();
        return 0;
    });
    // The host waits for this of every module, also of one that can do nothing.
    return guarded("OnSwitchStarted", std::uint32_t{0}, [this] { return SwitchStartFinished(0); });
}

void CPniExtModule::FetchAndStartThread() {
    // A thread of an earlier start would go on with the record of that time.
    StopUpdateThread();
    bool isValid = false;
    {
        const CRecursiveLockGuard guard(FruDataLock);
        record_.SetImage({});  // should the fetch fail, an earlier record must not stand for it
        RequestPniFruData(record_);
        isValid = record_.IsValid();
    }
    if (isValid) {
        PNI_TRACE(2,
                  "\nEM_PNI              : PNI structure is valid. Starting a PNI FRU data update "
                  "thread.");
        StartUpdateThread();
    }
}

std::uint32_t CPniExtModule::Stop() {
    return guarded("Stop", std::uint32_t{1}, [&] {
        PNI_TRACE(1, "\n%s", dashes);
        PNI_TRACE(1, "\n### Stopping module %s ###\n", GetModuleName());
        CExtensionModule::Stop();
        StopUpdateThread();
        PNI_TRACE(1, "\n\n### Stop of module %s completed successfully ###", GetModuleName());
        PNI_TRACE(1, "\n%s", dashes);
        return std::uint32_t{1};
    });
}

}  // namespace em_pni
