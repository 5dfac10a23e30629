#include <cerrno>
#include <string_view>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/output/host_error.h"
#include "platform/file.h"

namespace em_pni {

namespace {

constexpr unsigned onlyOwner = 0600;  // FRU data may hold serial numbers

}  // namespace

int backUp(const BackupOptions& options, CConsole& console) {
    const std::vector<std::uint8_t> bytes = copyOf(options.source, console)->Read();
    const PathParts parts = splitPath(options.file);
    const CFileDescriptor folder = openFolder(parts.folder);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!folder || !(options.force ? replaceFile(folder.Get(), parts.name, text, onlyOwner)
                                   : createFile(folder.Get(), parts.name, text, onlyOwner))) {
        throw CHostError(folder && errno == EEXIST
                             ? options.file + ": the file exists; use --force to replace it"
                             : systemErrorText(options.file, errno));
    }
    console.Line("saved: " + options.file + ", " + std::to_string(bytes.size()) + " bytes");
    if (const auto fault = faultOf(CByteView(bytes))) {
        console.Error(options.source.path + ": it has no valid record: " + *fault);
    }
    return exitDone;
}

}  // namespace em_pni
