// The only header that a host of em_pni.so includes. It needs C++20 and the headers of RapidJSON.
// Host and module must use the same version and settings of RapidJSON; askForTag finds out. The
// host loads em_pni.so with dlopen and finds the four functions below with dlsym; it links no
// library. Call them from one thread at a time. They do not throw.
//
// docs/host.md describes the life of the module and every document, examples/minimal_host is a
// small host. `cmake --install` puts both into share/doc/em_pni.
#pragma once

#include <cstdint>

#include "em_pni/extension_module.h"
#include "em_pni/krcp_message.h"
#include "em_pni/module_description.h"

extern "C" {

// Creates the module object and stores its address in *module. There is one object at most: a
// second call stores the same address. The object belongs to the library. When the object cannot be
// created, stores null and returns false. `ignored` may have any value.
bool EM_Create(em_pni::CIExtensionModule** module, void* ignored);

// Ends the current update cycle without a further request or write, waits for the module's thread
// and destroys the module object. Waits as long as the host needs for the request that it is
// answering. Returns 1, or 0 when there is no object or its destructor throws.
std::uint32_t EM_Delete();

// Returns "EM_PNI", a static text.
const char* EM_GetModuleName();

// Actions: 1 "BACKUP", 2 "RESTORE", 3 "CONVERT", 4 "CLEANUP". The module only traces them.
// Returns 1.
std::uint32_t EM_SetupAction(std::uint32_t action);
}

namespace em_pni {

using EM_CreateFunction = decltype(&EM_Create);
using EM_DeleteFunction = decltype(&EM_Delete);
using EM_GetModuleNameFunction = decltype(&EM_GetModuleName);
using EM_SetupActionFunction = decltype(&EM_SetupAction);

// Asks the module for its tag with a request that no module knows. Call it after EM_Create, before
// all other functions of the module. Returns interfaceTag when host and module understand each
// other. Else returns the tag of the module, or a tag without a mark when the module has no tag:
// then do not use the module.
inline InterfaceTag askForTag(CIExtensionModule& module) {
    CKrcpMessage probe = krcp::makeRequest(0, 0, 0, 0);
    module.ModuleRequest(probe);
    if (krcp::isReadable(probe)) {
        return krcp::status(probe) != krcp::REQUEST_PENDING ? interfaceTag : InterfaceTag{};
    }
    probe.tag.settings &= static_cast<std::uint8_t>(~InterfaceTag::refusal);
    return probe.tag;
}

}  // namespace em_pni
