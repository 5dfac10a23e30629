#include <cerrno>
#include <exception>
#include <filesystem>
#include <string_view>

#include "adapters/local_pni_adapter_handle.h"
#include "host/commands/commands.h"
#include "host/events/event_socket.h"
#include "host/machine/fru_areas.h"
#include "host/machine/kernel_network.h"
#include "host/output/host_error.h"
#include "host/session/played_host.h"
#include "module/krcp_connection.h"
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
        throw CHostError(options.file + ": the file exists; use --force to replace it");
    }
    const auto bytes = readFruFile(options.file);  // refuses a device and a folder
    if (const auto areas = neighbourAreas(CByteView(bytes)); !areas.empty()) {
        throw CHostError(options.file + ": a new image would overwrite the " +
                         textOf(areas.front()));
    }
    requireNoRunningHost(CFruImage(options.file));
}

// Keeps a symbolic link and replaces its target.
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

// Answers questions about the network of the machine in this process.
class CDirectConnection final : public CKrcpConnection {
  public:
    explicit CDirectConnection(CNetworkAnswers& network) : host_(nullptr, network) {}

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        return host_.SendRequest(nullptr, message, timeoutMs);
    }

  private:
    CPlayedHost host_;
};

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
        console.Error(std::string("cannot read the adapters of this machine: ") + error.what());
        return exitFailed;
    }
    if (modules.empty()) {
        console.Error("this machine has no adapters; no image is written");
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
