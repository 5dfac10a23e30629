// The module's shared library, loaded, and its exported functions.
#pragma once

#include <memory>
#include <string>

#include "em_pni/em_pni.h"

namespace em_pni {

// Where the module is looked for when the user names none: beside the program, else where it is
// installed.
std::string defaultModulePath();

// Unloads the library when it goes; the module object must be gone by then.
class CModuleLibrary {
  public:
    // Throws a CHostError when this is no library, lacks an export, or is another module.
    explicit CModuleLibrary(const std::string& path);

    [[nodiscard]] const std::string& Path() const noexcept { return path_; }
    [[nodiscard]] EM_CreateFunction Create() const noexcept { return create_; }
    [[nodiscard]] EM_DeleteFunction Delete() const noexcept { return delete_; }

  private:
    struct Close {
        void operator()(void* handle) const noexcept;
    };

    std::string path_;
    std::unique_ptr<void, Close> handle_;
    EM_CreateFunction create_;
    EM_DeleteFunction delete_;
};

}  // namespace em_pni
