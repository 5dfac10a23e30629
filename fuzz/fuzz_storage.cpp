// A machine with any files: its storage is found, and shown as tree and as JSON. No device is
// asked. played_machine.h describes the input.
#include <rapidjson/document.h>

#include "fuzz/played_machine.h"
#include "host/output/storage_report.h"
#include "storage/storage_resolver.h"
#include "storage/storage_scan.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

bool has(const std::vector<std::size_t>& indexes, std::size_t index) {
    return std::find(indexes.begin(), indexes.end(), index) != indexes.end();
}

void checkConnections(const StorageInventory& storage) {
    for (std::size_t i = 0; i < storage.devices.size(); ++i) {
        const BlockDevice& device = storage.devices[i];
        require(!has(device.parents, i), "no device is made of itself");
        for (const std::size_t parent : device.parents) {
            require(has(storage.devices.at(parent).children, i), "a parent knows its children");
        }
        for (const std::size_t child : device.children) {
            require(has(storage.devices.at(child).parents, i), "a child knows its parents");
        }
        const BlockDevice& lowest = storage.devices.at(lowestDevice(storage, i));
        if (isSafeToOpen(storage, i)) {
            require(lowest.parents.empty() && lowest.kind != BlockKind::optical,
                    "only a device on a known disk is opened");
        }
        require(std::is_sorted(device.links.begin(), device.links.end()), "links are in order");
    }
}

void checkTexts(const StorageReport& report) {
    const std::string tree = storageTree(report);
    require(std::none_of(tree.begin(), tree.end(),
                         [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\n'; }),
            "a tree has no control characters");
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(storageJson(report).c_str());
    require(document.IsObject(), "the JSON is valid");
    require(document["Devices"].Size() == report.storage.devices.size(), "it has all devices");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CPlayedMachine played({reinterpret_cast<const char*>(data), size});
    using namespace std::chrono_literals;
    StorageReport report{scanStorage(played.machine, {.each = 0ms, .total = 0ms}), {}};
    report.names.resize(report.storage.controllers.size());
    checkConnections(report.storage);
    checkTexts(report);
    return 0;
}
