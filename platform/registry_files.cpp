#include "platform/registry_files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/file.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr mode_t fileMode = 0644;

// The mode is set here and not after the rename, where a crash could leave it undone.
bool writeDurably(CFileDescriptor file, std::string_view text) noexcept {
    return writeAll(file.Get(), text) && ::fchmod(file.Get(), fileMode) == 0 &&
           ::fsync(file.Get()) == 0 && file.Close();
}

bool changePlaces(const RegistryFiles& files) noexcept {
    struct stat status {};
    const bool exists = ::stat(files.current.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        return false;
    }
    const bool isKept = exists && S_ISREG(status.st_mode) && status.st_size > 0;
    if (isKept && ::rename(files.current.c_str(), files.previous.c_str()) != 0) {
        return false;
    }
    if (::rename(files.fresh.c_str(), files.current.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    if (isKept) {
        (void)::rename(files.previous.c_str(), files.current.c_str());
    }
    errno = reason;
    return false;
}

}  // namespace

RegistryFiles registryFilesIn(const std::string& directory) {
    if (directory.empty()) {
        return {};
    }
    const std::string current = directory + "/registry";
    return {directory, current, current + ".old", current + ".new", current + ".default"};
}

bool saveRegistryFiles(const RegistryFiles& files, std::string_view text) noexcept {
    // What a crash left is removed and not reused: it might be a link to somewhere else by now.
    ::unlink(files.fresh.c_str());
    CFileDescriptor file(
        ::open(files.fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode));
    if (!file) {
        PNI_TRACE(1, "CRegistry: ERROR: Cannot open \"%s\" for writing\n", files.fresh.c_str());
        return false;
    }
    if (!writeDurably(std::move(file), text) || !changePlaces(files)) {
        const int reason = errno;
        PNI_TRACE(1, "CRegistry: ERROR: Saving to \"%s\" failed (errno %d)\n",
                  files.current.c_str(), reason);
        ::unlink(files.fresh.c_str());
        return false;
    }
    if (!flushFolder(files.folder)) {
        const int reason = errno;
        PNI_TRACE(1, "CRegistry: ERROR: Flushing \"%s\" failed (errno %d)\n", files.folder.c_str(),
                  reason);
        return false;
    }
    return true;
}

}  // namespace em_pni
