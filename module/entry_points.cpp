#include <exception>
#include <memory>

#include "em_pni/em_pni.h"
#include "platform/trace.h"
#include "platform/trace_client.h"
#include "pni/pni_ext_module.h"

#define EM_PNI_EXPORT __attribute__((visibility("default")))

namespace em_pni {
namespace {

constexpr const char* moduleName = "EM_PNI";

// The objects that live as long as the library is loaded. When the host unloads the library without
// EM_Delete, the destructor joins the module's thread before the code is unmapped. The trace ends
// last.
struct Library {
    CDebugClient trace{moduleName};
    std::unique_ptr<CPniExtModule> module;
};

Library& library() {
    static Library instance;
    return instance;
}

const char* setupActionName(std::uint32_t action) noexcept {
    switch (action) {
        case 1:
            return "BACKUP";
        case 2:
            return "RESTORE";
        case 3:
            return "CONVERT";
        case 4:
            return "CLEANUP";
        default:
            return nullptr;
    }
}

}  // namespace
}  // namespace em_pni

using namespace em_pni;

EM_PNI_EXPORT bool EM_Create(CIExtensionModule** module, void*) {
    std::unique_ptr<CPniExtModule>& instance = library().module;
    if (module == nullptr) {
        return instance != nullptr;
    }
    if (instance) {
        PNI_TRACE(1, "\nEM DLL (%-10s) : ## ERROR: Module already existing!\n", moduleName);
    } else {
        PNI_TRACE(2, "\nEM DLL (%-10s) : Create module", moduleName);
        try {
            instance = std::make_unique<CPniExtModule>();
        } catch (...) {
            PNI_TRACE(1, "\nEM DLL (%-10s) : ## ERROR: Module could not be created!\n", moduleName);
        }
    }
    *module = instance.get();
    return instance != nullptr;
}

EM_PNI_EXPORT std::uint32_t EM_Delete() {
    std::unique_ptr<CPniExtModule>& instance = library().module;
    if (!instance) {
        PNI_TRACE(1, "\nEM DLL (%-10s) : Module already destroyed!", moduleName);
        return 0;
    }
    PNI_TRACE(1, "\nEM DLL (%-10s) : Destroy module...", moduleName);
    try {
        // Release the pointer first: the object is gone even when its destructor throws.
        delete instance.release();
    } catch (...) {
        PNI_TRACE(1, "\nEM DLL (%-10s) : ## ERROR! Exception while destroying module!", moduleName);
        return 0;
    }
    PNI_TRACE(1, "\nEM DLL (%-10s) : .. Module destroyed successfully!", moduleName);
    return 1;
}

EM_PNI_EXPORT const char* EM_GetModuleName() {
    library();
    return moduleName;
}

EM_PNI_EXPORT std::uint32_t EM_SetupAction(std::uint32_t action) {
    library();
    if (const char* const name = setupActionName(action)) {
        PNI_TRACE(1, "\n\n%-20s: ## Setup action \"%s\" call - no action function defined\n",
                  moduleName, name);
    } else {
        PNI_TRACE(
            1,
            "\n\n%-20s: ## ERROR! Setup action call with unknown action type (%d) - no action "
            "defined!\n",
            moduleName, static_cast<int>(action));
    }
    return 1;
}
