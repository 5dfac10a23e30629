#include "pni/dump_file.h"

#include <unistd.h>

#include "platform/file.h"

namespace em_pni {

void writeDumpFile(const std::string& path, std::string_view text) noexcept {
    const CFileDescriptor file = openOwnFile(path, 0600);
    // Truncate only after the check that it is no link to another user's file.
    if (file && ::ftruncate(file.Get(), 0) == 0 && writeAll(file.Get(), text)) {
        writeAll(file.Get(), "\n");
    }
}

}  // namespace em_pni
