// The two interfaces between a host and an extension module: what the module calls in the host, and
// what the host calls in the module.
//
// Both are abstract classes of the Itanium C++ ABI. The order of their virtual functions is the
// binary interface. A result of 0 means failed, another value means done, unless a comment says
// otherwise.
#pragma once

#include <cstdint>

#include "em_pni/krcp_message.h"

namespace em_pni {

class CIExtensionModule;

// The host implements this interface. The object must outlive the module. No function may throw.
// The module calls them from the host's threads and from its own thread, also at the same time.
class CIHostInterface {
  public:
    // Delivers the message and waits for the answer, at most `timeoutMs` milliseconds. Writes the
    // answer ("ST", "DA") into the message. After a time-out there is no "ST". The module reads the
    // message only, not the result of this function. `message` belongs to the caller. The module
    // does not measure the time: it waits until this function returns. It holds locks meanwhile: do
    // not call the module from inside this function.
    virtual std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                                      std::uint32_t timeoutMs) = 0;
    // The module has finished its part of the switch start, also when it could not read the record.
    // `value` is 0. OnSwitchStarted calls it last and returns its result.
    virtual std::uint32_t SwitchStartFinished(CIExtensionModule* module, std::uint32_t value) = 0;
    // Returns 5 for the agentless service, configuringHostKind when the object is a
    // CIConfiguringHostInterface, another value for the host steward. Start calls it.
    virtual std::uint32_t GetHostKind() = 0;

  protected:
    ~CIHostInterface() = default;
};

// The host kind of a CIConfiguringHostInterface: no other host returns it.
inline constexpr std::uint32_t configuringHostKind = 0x504E4943;

// A host that also configures the module. Its GetHostKind returns configuringHostKind.
class CIConfiguringHostInterface : public CIHostInterface {
  public:
    // Returns the text of a configuration file with the syntax of em_pni.ini, ending in a NUL byte.
    // The module looks in its file for a property that the text does not have. Null = no text. The
    // module calls this during Start and does not keep the pointer.
    virtual const char* GetModuleConfig() = 0;
    // The trace lines that the host wants: those of this level and of the levels below it. 0 = no
    // lines. Start calls it.
    virtual std::uint32_t GetTraceLevel() = 0;
    // One trace line without a newline at its end; it may have newlines inside. It is valid during
    // the call. Any thread that is in the module calls this function, one at a time, until
    // EM_Delete has returned. Do not call the module from it.
    virtual void OnTraceLine(const char* line) = 0;

  protected:
    ~CIConfiguringHostInterface() = default;
};

// The module implements this interface. Order of the calls:
//
//   1. GetModuleInfo, SetCabinetNumber, Start
//   2. OnSwitchStarted, when the host can route requests
//   3. ModuleRequest, ModuleReply and Notify, as needed, from any thread, also at the same time
//   4. Stop, then EM_Delete
//
// Only these functions wait: OnSwitchStarted, ModuleRequest, ModuleReply and Stop. They send
// requests to the host on the thread that calls them, except Stop. No function throws, except the
// destructor. EM_Create and EM_Delete create and destroy the object. After Stop the host may begin
// again with Start. Do not cancel a thread (pthread_cancel) while it is inside the module.
class CIExtensionModule {
  public:
    // Slots 0 and 1. May throw: EM_Delete catches the exception and returns 0.
    virtual ~CIExtensionModule() noexcept(false) = default;
    // Slot 2. Fills a block of the host; module_description.h has the layout. Returns 1, or 0 and
    // writes nothing when the block is too small.
    virtual std::uint32_t GetModuleInfo(void* block) = 0;
    // Slot 3. Does nothing and returns 1.
    virtual std::uint32_t Init() = 0;
    // Slot 4. Reads the configuration. Sends no request. The module calls `host` until EM_Delete
    // has returned. `instance` has no effect. Returns 1.
    virtual std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) = 0;
    // Slot 5. Lets the update cycle end and waits for it, at most 5 seconds. A longer cycle sends
    // no further request and writes nothing; EM_Delete waits for the request that it has sent. The
    // first cycle runs even when Stop follows OnSwitchStarted at once. Returns 1.
    virtual std::uint32_t Stop() = 0;
    // Slot 6. Reads the record with a request to the host. Starts the thread of the module when the
    // record is valid. Returns the result of SwitchStartFinished. A second call first waits for the
    // thread of the first call, as Stop does.
    virtual std::uint32_t OnSwitchStarted() = 0;
    // Slot 7. Tells the module of an event. "ST" of an event is EVENT_MESSAGE. The module ignores
    // any other message. Sends a request to the host before it returns. May wait for the requests
    // of the update cycle that looks for cards. `reply` belongs to the host.
    virtual void ModuleReply(CKrcpMessage& reply) = 0;
    // Slot 8. Answers a request: writes "ST" and "DA" of the current command. The result is 1 or 0;
    // read "ST" for the outcome. Reads the record with a request to the host when there is no
    // record yet. May wait until the host has answered a read or a write of the record. The names
    // of members in the answer are texts of the library: copy what has to stay after the library is
    // unloaded. `request` belongs to the host.
    virtual std::uint32_t ModuleRequest(CKrcpMessage& request) = 0;
    virtual std::uint32_t Reserved9() = 0;  // slot 9
    // Slot 10. The cabinet number of all requests. It belongs to the process and is 0 before the
    // first call. Returns 1.
    virtual std::uint32_t SetCabinetNumber(std::int32_t number) = 0;
    virtual std::uint32_t Reserved11() = 0;  // slot 11
    virtual std::uint32_t Reserved12() = 0;  // slot 12
    // Slot 13. `code` is one of the notifications below, `param` is traced only. Returns 0.
    virtual std::uint32_t Notify(std::uint32_t code, std::uint32_t param) = 0;
    // Slot 14. Returns "EM_PNI", a static text.
    virtual const char* GetModuleName() = 0;
    // The reserved functions do nothing and return 0.
    virtual void Reserved15() = 0;           // slot 15
    virtual void Reserved16() = 0;           // slot 16
    virtual void Reserved17() = 0;           // slot 17
    virtual void Reserved18() = 0;           // slot 18
    virtual std::uint32_t Reserved19() = 0;  // slot 19
    virtual std::uint32_t Reserved20() = 0;  // slot 20
    virtual std::uint32_t Reserved21() = 0;  // slot 21
    virtual std::uint32_t Reserved22() = 0;  // slot 22
    // Slot 23. Notify calls it; a host does not. Returns 0.
    virtual std::uint32_t OnModuleNotification(std::uint32_t code, std::uint32_t param) = 0;
};

// Codes of Notify. The module only traces them, except the first.
namespace notification {
inline constexpr std::uint32_t switchShutdown = 0x20000;  // this object writes nothing after it
inline constexpr std::uint32_t switchRequestEnabled = 0x20001;
inline constexpr std::uint32_t systemShutdown = 0x30000;
inline constexpr std::uint32_t powerStateSuspend = 0x40000;
inline constexpr std::uint32_t powerStateStandby = 0x40001;
inline constexpr std::uint32_t powerStateResume = 0x40002;
inline constexpr std::uint32_t powerStateAcOffline = 0x40003;
inline constexpr std::uint32_t powerStateAcOnline = 0x40004;
}  // namespace notification

}  // namespace em_pni
