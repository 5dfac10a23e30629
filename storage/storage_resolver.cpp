#include "storage/storage_resolver.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace em_pni {
namespace {

using Indexes = std::unordered_map<std::string, std::size_t>;

template <class Range, class Name>
Indexes indexesOf(const Range& range, Name name) {
    Indexes indexes;
    for (std::size_t i = 0; i < range.size(); ++i) {
        indexes.emplace(name(range[i]), i);
    }
    return indexes;
}

std::optional<std::size_t> find(const Indexes& indexes, const std::string& name) {
    const auto found = indexes.find(name);
    return found == indexes.end() ? std::nullopt : std::optional(found->second);
}

void addOnce(std::vector<std::size_t>& indexes, std::optional<std::size_t> index) {
    if (index && std::find(indexes.begin(), indexes.end(), *index) == indexes.end()) {
        indexes.push_back(*index);
    }
}

void useKnown(std::string& fact, const std::string& other) {
    if (!other.empty()) {
        fact = other;
    }
}

class CResolver {
  public:
    explicit CResolver(StorageFacts facts) : facts_(std::move(facts)) {
        storage_.nvmeControllers = std::move(facts_.nvmeControllers);
        for (FoundDevice& found : facts_.found.devices) {
            storage_.devices.push_back(std::move(found.device));
        }
        nvme_ = indexesOf(storage_.nvmeControllers, [](const auto& one) { return one.name; });
        devices_ = indexesOf(storage_.devices, [](const auto& one) { return one.name; });
    }

    StorageInventory Resolve() {
        for (std::size_t i = 0; i < storage_.devices.size(); ++i) {
            Connect(i);
        }
        for (const FoundPath& path : facts_.found.paths) {
            const auto device = find(devices_, path.name.device);
            const auto controller = find(nvme_, path.name.controller);
            if (device && controller) {
                storage_.devices[*device].disk.paths.push_back({*controller, path.state});
            }
        }
        for (BlockDevice& device : storage_.devices) {
            AddNvmeFacts(device.disk);
        }
        AddMounts();
        AddSwaps();
        return std::move(storage_);
    }

  private:
    void Connect(std::size_t index) {
        BlockDevice& device = storage_.devices[index];
        for (const std::string& parent : facts_.found.devices[index].parents) {
            const auto found = find(devices_, parent);
            if (found && *found != index) {
                addOnce(device.parents, found);
                addOnce(storage_.devices[*found].children, index);
            }
        }
        if (const auto nvme = find(nvme_, facts_.found.devices[index].nvme)) {
            device.disk.paths.push_back({*nvme, ""});
        }
    }

    void AddNvmeFacts(Disk& disk) const {
        for (const NvmePath& path : disk.paths) {
            const NvmeController& nvme = storage_.nvmeControllers[path.controller];
            disk.transport = nvme.transport.empty() ? "nvme" : "nvme-" + nvme.transport;
            useKnown(disk.model, nvme.model);
            useKnown(disk.serial, nvme.serial);
            useKnown(disk.firmware, nvme.firmware);
            disk.targetPort = disk.paths.size() == 1 ? nvme.targetPort : 0;
        }
    }

    // Any name of a device below /dev.
    [[nodiscard]] std::optional<std::size_t> AtPath(const std::string& path) const {
        const auto& devices = storage_.devices;
        const auto found =
            std::find_if(devices.begin(), devices.end(), [&path](const BlockDevice& device) {
                return device.path == path ||
                       std::binary_search(device.links.begin(), device.links.end(), path) ||
                       (!device.volume.name.empty() && path == "/dev/mapper/" + device.volume.name);
            });
        return found == devices.end()
                   ? std::nullopt
                   : std::optional(static_cast<std::size_t>(found - devices.begin()));
    }

    void AddMounts() {
        std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> numbers;
        for (std::size_t i = 0; i < storage_.devices.size(); ++i) {
            numbers.emplace(std::pair(storage_.devices[i].major, storage_.devices[i].minor), i);
        }
        for (MountEntry& entry : facts_.mounts) {
            std::optional<std::size_t> device;
            if (entry.major != 0) {
                const auto found = numbers.find({entry.major, entry.minor});
                device = found == numbers.end() ? std::nullopt : std::optional(found->second);
            } else if (entry.source.starts_with("/dev/")) {
                device = AtPath(entry.source);
            }
            if (device) {
                storage_.devices[*device].mounts.push_back(std::move(entry.mount));
            }
        }
    }

    void AddSwaps() {
        for (SwapArea& swap : facts_.swaps) {
            const auto device = swap.isFile ? std::nullopt : AtPath(swap.path);
            (device ? storage_.devices[*device].swaps : storage_.swapFiles)
                .push_back(std::move(swap));
        }
    }

    StorageFacts facts_;
    StorageInventory storage_;
    Indexes nvme_;
    Indexes devices_;
};

bool isSafeDisk(const BlockDevice& device) {
    switch (device.kind) {
        case BlockKind::optical:
            return false;
        case BlockKind::disk:
            return (device.disk.state.empty() || device.disk.state == "running") &&
                   (device.disk.transport == "virtio" || device.rotational == false);
        case BlockKind::partition:
            return !device.parents.empty();
        case BlockKind::volume:
            return device.volume.state != "suspended" &&
                   (!device.parents.empty() || device.rotational == false);
    }
    return false;
}

}  // namespace

StorageInventory resolveStorage(StorageFacts facts) {
    return CResolver(std::move(facts)).Resolve();
}

std::vector<std::string> controllerNames(const StorageInventory& storage) {
    std::set<std::string> names;
    for (const BlockDevice& device : storage.devices) {
        names.insert(device.disk.pciName);
    }
    for (const NvmeController& one : storage.nvmeControllers) {
        names.insert(one.pciName);
    }
    names.erase("");
    return {names.begin(), names.end()};
}

void addControllers(StorageInventory& storage, std::vector<StorageController> controllers) {
    const Indexes indexes = indexesOf(controllers, [](const auto& one) { return one.pciAddress; });
    storage.controllers = std::move(controllers);
    for (NvmeController& one : storage.nvmeControllers) {
        one.controller = find(indexes, one.pciName);
    }
    for (BlockDevice& device : storage.devices) {
        addOnce(device.disk.controllers, find(indexes, device.disk.pciName));
        for (const NvmePath& path : device.disk.paths) {
            addOnce(device.disk.controllers, storage.nvmeControllers[path.controller].controller);
        }
    }
}

bool isSafeToOpen(const StorageInventory& storage, std::size_t device) {
    std::set<std::size_t> seen{device};
    std::vector<std::size_t> open{device};
    bool hasLowest = false;
    while (!open.empty()) {
        const BlockDevice& one = storage.devices[open.back()];
        open.pop_back();
        if (!isSafeDisk(one)) {
            return false;
        }
        hasLowest |= one.parents.empty();
        for (const std::size_t parent : one.parents) {
            if (seen.insert(parent).second) {
                open.push_back(parent);
            }
        }
    }
    return hasLowest;
}

std::size_t lowestDevice(const StorageInventory& storage, std::size_t device) {
    std::set<std::size_t> seen;
    while (seen.insert(device).second && !storage.devices[device].parents.empty()) {
        device = storage.devices[device].parents.front();
    }
    return device;
}

}  // namespace em_pni
