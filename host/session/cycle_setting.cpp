#include "host/session/cycle_setting.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "host/output/console.h"

namespace em_pni {

CTemporaryFolder::CTemporaryFolder()
    : path_((std::filesystem::temp_directory_path() / "pni-host.XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
        throw CHostError(systemErrorText(path_ + ": cannot be made", errno));
    }
}

CTemporaryFolder::~CTemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

CWorkingDirectory::CWorkingDirectory(const std::string& path)
    : previous_(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!previous_ || ::chdir(path.c_str()) != 0) {
        throw CHostError(systemErrorText(path + ": cannot be entered", errno));
    }
}

CWorkingDirectory::~CWorkingDirectory() {
    if (::fchdir(previous_.Get()) != 0) {
        // Every path in use is absolute by now, so nothing depends on it.
        return;
    }
}

CCycleSetting::CCycleSetting(std::uint32_t milliseconds) : directory_(folder_.Path()) {
    const std::string file = folder_.Path() + "/em_pni.ini";
    if (!replaceFile(file, "[EM_PNI]\nFruUpdateCycle=" + std::to_string(milliseconds) + "\n")) {
        throw CHostError(systemErrorText(file + ": cannot be written", errno));
    }
}

}  // namespace em_pni
