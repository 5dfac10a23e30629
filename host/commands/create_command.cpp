#include "host/commands/create_command.h"

#include <cerrno>
#include <exception>
#include <filesystem>
#include <string_view>

#include "adapters/local_pni_adapter_handle.h"
#include "host/commands/direct_connection.h"
#include "host/events/event_socket.h"
#include "host/machine/fru_image.h"
#include "host/machine/kernel_network.h"
#include "platform/file.h"

namespace em_pni {

namespace {

bool isThere(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::symlink_status(path, ignored).type() !=
           std::filesystem::file_type::not_found;
}

void requireReplaceable(const CreateOptions& options) {
    if (!isThere(options.file)) {
        return;
    }
    if (!options.force) {
        throw CHostError(options.file + ": exists already, --force replaces it");
    }
    static_cast<void>(readFruFile(options.file, options.file));  // no device, no folder
    requireNoRunningHost(CFruImage(options.file));
}

// A link stays and its target is replaced.
void writeImage(const std::string& path, const std::vector<std::uint8_t>& image) {
    if (isThere(path)) {
        CFruImage(path).Replace(image);
        return;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(image.data()), image.size());
    if (!replaceFile(path, bytes)) {
        throw CHostError(systemErrorText(path, errno));
    }
}

std::vector<ModuleStream> localModules(CConsole& console) {
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CDirectConnection connection(network);
    CMachine machine;
    std::vector<ModuleStream> modules;
    for (const LocalPniAdapterHandle& handle :
         LocalPniAdapterHandle::GetLocalNetworkAdapters(machine, &connection, 0)) {
        const LocalPniAdapter& adapter = handle.Get();
        ModuleStream module{adapter.ToPniFruDataStreamModule(), unknownSlot};
        static_cast<void>(adapter.GetLocalPniModuleArea().GetAdapterSlotNo(module.slot));
        modules.push_back(std::move(module));
    }
    return modules;
}

}  // namespace

int createImage(const CreateOptions& options, CConsole& console) {
    requireReplaceable(options);
    std::vector<ModuleStream> modules;
    try {
        modules = localModules(console);
    } catch (const std::exception& error) {
        console.Error(std::string("the adapters of this machine cannot be read: ") + error.what());
        return exitFailed;
    }
    if (modules.empty()) {
        console.Error("this machine has no adapters for a record, nothing is written");
        return exitFailed;
    }
    const std::size_t count = modules.size();
    const std::vector<std::uint8_t> image = buildImage(std::move(modules), options.format);
    writeImage(options.file, image);
    console.Line("created: " + options.file + ", " + std::to_string(count) +
                 (count == 1 ? " module, " : " modules, ") + std::to_string(image.size()) +
                 " bytes");
    return exitDone;
}

}  // namespace em_pni
