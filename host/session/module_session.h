// The life of one module object, from EM_Create to EM_Delete, in the order that a module expects.
#pragma once

#include <string>

#include "em_pni/em_pni.h"
#include "host/session/module_library.h"

namespace em_pni {

// One thread uses the session. The destructor stops and deletes the module.
class CModuleSession {
  public:
    // Creates the module object. Library and host must outlive the session. Throws a CHostError
    // when the module refuses.
    CModuleSession(const CModuleLibrary& library, CIHostInterface& host);
    ~CModuleSession();
    CModuleSession(const CModuleSession&) = delete;
    CModuleSession& operator=(const CModuleSession&) = delete;

    // Calls GetModuleInfo, SetCabinetNumber and Start. The module reads its configuration now.
    // Throws a CHostError when the module refuses.
    void Start();
    // The module reads the record and begins its first cycle. May be called again.
    void SwitchStarted();
    // The module answers in `message`. Call it between Start and Delete.
    void Request(CKrcpMessage& message);
    // Gives the module a reply or an event. Call it between Start and Delete.
    void Report(CKrcpMessage& message);
    // The module writes nothing from now on, also in a running cycle.
    void AnnounceShutdown();
    void Stop();
    // Waits for the thread of the module. False when the module reports a failure.
    bool Delete();

    // Name and description from the module; empty before Start.
    [[nodiscard]] const std::string& Description() const noexcept { return description_; }

  private:
    const CModuleLibrary& library_;
    CIHostInterface& host_;
    CIExtensionModule* module_ = nullptr;  // owned by the library; null after Delete
    bool running_ = false;                 // between Start and Stop
    std::string description_;
};

}  // namespace em_pni
