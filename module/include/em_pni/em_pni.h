// All that a host of em_pni.so includes. It needs RapidJSON's headers beside it and links nothing:
// the four functions below are looked up in the loaded library (dlopen, dlsym). They are called by
// the host's loading thread, none of them throws.
//
//     void* library = dlopen("em_pni.so", RTLD_NOW | RTLD_LOCAL);
//     auto create = reinterpret_cast<em_pni::EM_CreateFunction>(dlsym(library, "EM_Create"));
//     em_pni::CIExtensionModule* module = nullptr;
//     if (create(&module, nullptr)) { module->SetCabinetNumber(0); module->Start(&host, 0); ... }
#pragma once

#include <cstdint>

#include "em_pni/extension_module.h"
#include "em_pni/krcp_message.h"
#include "em_pni/module_description.h"

extern "C" {

// Creates the one module object, or hands back the one that exists. The object belongs to the
// library. False, and null handed back, when it cannot be created. `ignored` may be anything.
bool EM_Create(em_pni::CIExtensionModule** module, void* ignored);

// Destroys the module object, waiting for its thread: 1 when destroyed, 0 when there was none or
// its destruction failed.
std::uint32_t EM_Delete();

// "EM_PNI"; static.
const char* EM_GetModuleName();

// 1 "BACKUP", 2 "RESTORE", 3 "CONVERT", 4 "CLEANUP": there is nothing to do for any of them.
// Always 1.
std::uint32_t EM_SetupAction(std::uint32_t action);
}

namespace em_pni {

using EM_CreateFunction = decltype(&EM_Create);
using EM_DeleteFunction = decltype(&EM_Delete);
using EM_GetModuleNameFunction = decltype(&EM_GetModuleName);
using EM_SetupActionFunction = decltype(&EM_SetupAction);

}  // namespace em_pni
