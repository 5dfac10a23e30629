// The two sides of an extension module: what the host calls, and what the host offers.
//
// Both are abstract classes of the Itanium C++ ABI; the order of their virtual functions is the
// interface. Results are 32-bit: 1 (or another non-zero value) done, 0 failed.
#pragma once

#include <cstdint>

#include "em_pni/krcp_message.h"

namespace em_pni {

class CIExtensionModule;

// Implemented by the host. It outlives the module, and its functions may be called from any thread.
class CIHostInterface {
  public:
    // Sends the message to whom it concerns and blocks until the answer ("ST", "DA") has been
    // written into it or `timeoutMs` milliseconds have passed.
    virtual std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                                      std::uint32_t timeoutMs) = 0;
    // The module is ready with its part of the switch start; `value` is 0.
    virtual std::uint32_t SwitchStartFinished(CIExtensionModule* module, std::uint32_t value) = 0;
    // 5 = agentless service, configuringHostKind = the object is a CIConfiguringHostInterface, any
    // other value = host steward.
    virtual std::uint32_t GetHostKind() = 0;

  protected:
    ~CIHostInterface() = default;
};

// The host kind of a CIConfiguringHostInterface: no other host returns it.
inline constexpr std::uint32_t configuringHostKind = 0x504E4943;

// A host that also configures the module. Its GetHostKind returns configuringHostKind.
class CIConfiguringHostInterface : public CIHostInterface {
  public:
    // The text of a configuration file with the syntax of em_pni.ini, ending in a zero byte. It
    // takes precedence over the files. Null = the module looks for its file. The module calls this
    // during Start and does not keep the pointer.
    virtual const char* GetModuleConfig() = 0;

  protected:
    ~CIConfiguringHostInterface() = default;
};

// Implemented by the module. The host calls, in this order: GetModuleInfo, SetCabinetNumber, Start
// and, once it can route requests, OnSwitchStarted; then ModuleRequest, ModuleReply and Notify as
// things happen; then Stop. The object is created and destroyed by the exports of em_pni.h only.
class CIExtensionModule {
  public:
    // Slots 0 and 1. May throw, so that EM_Delete can report it instead of ending the process.
    virtual ~CIExtensionModule() noexcept(false) = default;
    // Fills a block laid out as module_description.h says.
    virtual std::uint32_t GetModuleInfo(void* block) = 0;                            // slot 2
    virtual std::uint32_t Init() = 0;                                                // slot 3
    virtual std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) = 0;  // slot 4
    // The module sends no request after this has returned, unless the cycle under way takes more
    // than five seconds: it goes on to its end, and EM_Delete waits for that.
    virtual std::uint32_t Stop() = 0;             // slot 5
    virtual std::uint32_t OnSwitchStarted() = 0;  // slot 6
    // A reply or an event (status EVENT_MESSAGE).
    virtual void ModuleReply(CKrcpMessage& reply) = 0;  // slot 7
    // Answers in place: "ST" and "DA" of the current command. Names in the answer may stand in the
    // module's library: a host copies what it wants to keep beyond its unloading.
    virtual std::uint32_t ModuleRequest(CKrcpMessage& request) = 0;             // slot 8
    virtual std::uint32_t Reserved9() = 0;                                      // slot 9
    virtual std::uint32_t SetCabinetNumber(std::int32_t number) = 0;            // slot 10
    virtual std::uint32_t Reserved11() = 0;                                     // slot 11
    virtual std::uint32_t Reserved12() = 0;                                     // slot 12
    virtual std::uint32_t Notify(std::uint32_t code, std::uint32_t param) = 0;  // slot 13
    virtual const char* GetModuleName() = 0;                                    // slot 14
    virtual void Reserved15() = 0;                                              // slot 15
    virtual void Reserved16() = 0;                                              // slot 16
    virtual void Reserved17() = 0;                                              // slot 17
    virtual void Reserved18() = 0;                                              // slot 18
    virtual std::uint32_t Reserved19() = 0;                                     // slot 19
    virtual std::uint32_t Reserved20() = 0;                                     // slot 20
    virtual std::uint32_t Reserved21() = 0;                                     // slot 21
    virtual std::uint32_t Reserved22() = 0;                                     // slot 22
    virtual std::uint32_t OnModuleNotification(std::uint32_t code, std::uint32_t param) = 0;  // 23
};

// Codes of Notify.
namespace notification {
inline constexpr std::uint32_t switchShutdown = 0x20000;  // nothing is written from now on
inline constexpr std::uint32_t switchRequestEnabled = 0x20001;
inline constexpr std::uint32_t systemShutdown = 0x30000;
inline constexpr std::uint32_t powerStateSuspend = 0x40000;
inline constexpr std::uint32_t powerStateStandby = 0x40001;
inline constexpr std::uint32_t powerStateResume = 0x40002;
inline constexpr std::uint32_t powerStateAcOffline = 0x40003;
inline constexpr std::uint32_t powerStateAcOnline = 0x40004;
}  // namespace notification

}  // namespace em_pni
