#include "host/session/module_session.h"

#include <exception>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

constexpr std::int32_t cabinetNumber = 0;
constexpr std::uint32_t instanceNumber = 0;

}  // namespace

CModuleSession::CModuleSession(const CModuleLibrary& library, CIHostInterface& host)
    : library_(library), host_(host) {
    if (!library_.Create()(&module_, nullptr) || module_ == nullptr) {
        throw CHostError(library_.Path() + ": the module cannot create its object");
    }
    if (const InterfaceTag tag = askForTag(*module_); tag != interfaceTag) {
        library_.Delete()();
        throw CHostError(library_.Path() +
                         ": the module has another interface: " + tagDifference(tag));
    }
}

CModuleSession::~CModuleSession() {
    if (module_ == nullptr) {
        return;
    }
    try {
        Stop();
    } catch (const std::exception&) {
        // EM_Delete stops the module, too.
    }
    library_.Delete()();
}

void CModuleSession::Start() {
    CModuleDescription description;
    if (module_->GetModuleInfo(description.Data()) == 0) {
        throw CHostError(library_.Path() + ": the module does not fill its description");
    }
    description_ = description.Name() + ", " + description.Description();
    if (module_->SetCabinetNumber(cabinetNumber) == 0 ||
        module_->Start(&host_, instanceNumber) == 0) {
        throw CHostError(library_.Path() + ": the module does not start");
    }
    running_ = true;
}

void CModuleSession::SwitchStarted() {
    running_ = true;
    module_->OnSwitchStarted();
}

void CModuleSession::Request(CKrcpMessage& message) {
    module_->ModuleRequest(message);
}

void CModuleSession::Report(CKrcpMessage& message) {
    module_->ModuleReply(message);
}

void CModuleSession::AnnounceShutdown() {
    module_->Notify(notification::switchShutdown, 0);
}

void CModuleSession::Stop() {
    if (running_) {
        running_ = false;
        module_->Stop();
    }
}

bool CModuleSession::Delete() {
    Stop();
    module_ = nullptr;
    return library_.Delete()() == 1;
}

}  // namespace em_pni
