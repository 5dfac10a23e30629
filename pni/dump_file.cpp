#include "pni/dump_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file.h"

namespace em_pni {

void writeDumpFile(const std::string& path, std::string_view text) noexcept {
    const CFileDescriptor file(::open(
        path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600));
    struct stat status {};
    // Truncate only after the check that it is no link to another user's file.
    if (file && ::fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_nlink == 1 && ::ftruncate(file.Get(), 0) == 0 && writeAll(file.Get(), text)) {
        writeAll(file.Get(), "\n");
    }
}

}  // namespace em_pni
