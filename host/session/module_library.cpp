#include "host/session/module_library.h"

#include <dlfcn.h>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

// From the folder of the installed program.
constexpr const char* installedModule = PNI_HOST_INSTALLED_MODULE;
constexpr std::string_view moduleName = "EM_PNI";

std::string loaderError() {
    const char* const text = ::dlerror();
    return text != nullptr ? text : "no reason given";
}

// Makes the path absolute: dlopen looks for a name without a slash in the library folders only.
void* load(const std::string& path) {
    void* const handle = ::dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw CHostError("cannot load the module: " + loaderError());
    }
    return handle;
}

template <typename Function>
Function findFunction(void* handle, const char* name, const std::string& path) {
    void* const symbol = ::dlsym(handle, name);
    if (symbol == nullptr) {
        throw CHostError(path + " is not an extension module: it does not export " + name);
    }
    return reinterpret_cast<Function>(symbol);
}

}  // namespace

std::string defaultModulePath() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        throw CHostError("cannot find the folder of this program: " + error.message());
    }
    const std::filesystem::path beside = program.parent_path() / "em_pni.so";
    return std::filesystem::exists(beside, error) ? beside
                                                  : program.parent_path() / installedModule;
}

void CModuleLibrary::Close::operator()(void* handle) const noexcept {
    ::dlclose(handle);
}

CModuleLibrary::CModuleLibrary(const std::string& path)
    : path_(path),
      handle_(load(path)),
      create_(findFunction<EM_CreateFunction>(handle_.get(), "EM_Create", path)),
      delete_(findFunction<EM_DeleteFunction>(handle_.get(), "EM_Delete", path)) {
    const auto getName =
        findFunction<EM_GetModuleNameFunction>(handle_.get(), "EM_GetModuleName", path);
    const char* const name = getName();
    if (name == nullptr || name != moduleName) {
        throw CHostError(path + " is another extension module: its name is \"" +
                         (name != nullptr ? name : "") + "\", not \"" + std::string(moduleName) +
                         "\"");
    }
}

}  // namespace em_pni
