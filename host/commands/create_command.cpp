#include <cerrno>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "adapters/local_pni_adapter_handle.h"
#include "host/commands/commands.h"
#include "host/machine/fru_areas.h"
#include "host/machine/fru_image.h"
#include "host/machine/fru_lock.h"
#include "host/machine/kernel_network.h"
#include "host/output/change_json.h"
#include "host/output/host_error.h"
#include "host/session/played_host.h"
#include "module/krcp_connection.h"
#include "platform/file.h"
#include "pni/ip_update.h"

namespace em_pni {

namespace {

bool isThere(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::symlink_status(path, ignored).type() !=
           std::filesystem::file_type::not_found;
}

[[noreturn]] void failBecauseItExists(const std::string& path) {
    throw CHostError(path + ": the file exists; use --force to replace it");
}

// The file to create. Locks an existing one until it is replaced.
class CTarget {
  public:
    explicit CTarget(const CreateOptions& options) : path_(options.file) {
        if (!isThere(path_)) {
            return;
        }
        if (!options.force) {
            failBecauseItExists(path_);
        }
        if (isIpmiDevice(path_)) {
            throw CHostError(path_ + ": only \"pni-host restore\" writes to a controller");
        }
        // Resolves a symbolic link: its target is replaced.
        old_.emplace(FruSource{.path = path_}, CFruPlace::Use::write);
        lock_.emplace(*old_);
        const auto bytes = readFruFile(path_);  // refuses a device and a folder
        if (const auto areas = neighbourAreas(CByteView(bytes)); !areas.empty()) {
            throw CHostError(path_ + ": a new image would overwrite the " + textOf(areas.front()));
        }
    }
    void Write(const std::vector<std::uint8_t>& image) const {
        if (old_) {
            CFruImage(*old_).Write({}, image);
            return;
        }
        const std::string_view bytes(reinterpret_cast<const char*>(image.data()), image.size());
        const PathParts parts = splitPath(path_);
        const CFileDescriptor folder = openFolder(parts.folder);
        if (folder && createFile(folder.Get(), parts.name, bytes)) {
            return;
        }
        if (folder && errno == EEXIST) {
            failBecauseItExists(path_);
        }
        throw CHostError(systemErrorText(path_, errno));
    }

  private:
    const std::string path_;
    std::optional<CFruPlace> old_;
    std::optional<CFruLock> lock_;
};

// Answers questions about the network of the machine in this process.
class CDirectConnection final : public CKrcpConnection {
  public:
    CDirectConnection(CNetworkAnswers& network, CConsole& console)
        : host_(nullptr, network, console) {}

    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        return host_.SendRequest(nullptr, message, timeoutMs);
    }

  private:
    CPlayedHost host_;
};

std::vector<ModuleStream> localModules(CKrcpConnection& connection) {
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
    const CTarget target(options);
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CDirectConnection connection(network, console);
    std::vector<ModuleStream> modules;
    try {
        modules = localModules(connection);
    } catch (const std::exception& error) {
        console.Error(std::string("cannot read the adapters of this machine: ") + error.what());
        return exitFailed;
    }
    if (modules.empty()) {
        console.Error("this machine has no adapters; no image is written");
        return exitFailed;
    }
    const std::size_t count = modules.size();
    // The module replaces the IP addresses in each cycle. This way its first one changes nothing.
    const std::vector<std::uint8_t> image =
        buildImage(std::move(modules), options.format, [&connection](CPniFruData& record) {
            ReplaceIpAddresses(CNetworkRequests(&connection, 0), record);
        });
    target.Write(image);
    if (options.json) {
        rapidjson::StringBuffer text;
        JsonWriter writer(text);
        writer.StartObject();
        writeMember(writer, "path", options.file);
        writer.Key("modules");
        writer.Uint64(count);
        writer.Key("bytes");
        writer.Uint64(image.size());
        writer.EndObject();
        console.Document(text.GetString());
    } else {
        console.Line("created: " + options.file + ", " + std::to_string(count) +
                     (count == 1 ? " module, " : " modules, ") + std::to_string(image.size()) +
                     " bytes");
    }
    return exitDone;
}

}  // namespace em_pni
