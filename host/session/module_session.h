// One life of the module object, from EM_Create to EM_Delete, called in the order it expects.
#pragma once

#include <string>

#include "em_pni/em_pni.h"
#include "host/session/module_library.h"

namespace em_pni {

// Belongs to the thread that made it. Whatever happens, the module is stopped and deleted.
class CModuleSession {
  public:
    // Creates the module object; library and host must outlive the session. Throws a CHostError
    // when the module refuses, here and in Start.
    CModuleSession(const CModuleLibrary& library, CIHostInterface& host);
    ~CModuleSession();
    CModuleSession(const CModuleSession&) = delete;
    CModuleSession& operator=(const CModuleSession&) = delete;

    // GetModuleInfo, SetCabinetNumber and Start. The module looks for its configuration file in
    // the current directory now.
    void Start();
    // The module reads the record and begins its first cycle.
    void SwitchStarted();
    // Answered in place. May be called from Start until Delete.
    void Request(CKrcpMessage& message);
    // A reply or an event; as above.
    void Report(CKrcpMessage& message);
    // From now on the module writes nothing; a cycle under way comes to nothing, too.
    void AnnounceShutdown();
    void Stop();
    // Waits for the module's thread. False when the module reports that it failed.
    bool Delete();

    // As the module describes itself, once started.
    [[nodiscard]] const std::string& Description() const noexcept { return description_; }

  private:
    const CModuleLibrary& library_;
    CIHostInterface& host_;
    CIExtensionModule* module_ = nullptr;  // the library's; null once deleted
    bool running_ = false;                 // between Start and Stop
    std::string description_;
};

}  // namespace em_pni
