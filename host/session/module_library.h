// The loaded shared library of the module and its exported functions.
#pragma once

#include <memory>
#include <string>

#include "em_pni/em_pni.h"

namespace em_pni {

// The path of the module when the user gives none: em_pni.so in the folder of the program, else
// where both are installed together. Throws a CHostError when the folder is not known.
std::string defaultModulePath();

// The destructor unloads the library: delete the module object before.
class CModuleLibrary {
  public:
    // Throws a CHostError when the file is not a library, lacks an export, or is another module.
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
