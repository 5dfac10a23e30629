#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "host/output/adapter_report.h"
#include "host/output/pci_facts.h"
#include "host/output/storage_report.h"
#include "host/output/text_tree.h"
#include "platform/text.h"

namespace em_pni {

namespace {

// "931.5 GiB"
std::string sizeText(std::uint64_t bytes) {
    constexpr std::array units = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; size >= 1024 && unit + 1 < units.size(); ++unit) {
        size /= 1024;
    }
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s",
                                    size, units.at(unit)));
    return text.data();
}

std::string quoted(const std::string& text) {
    return text.empty() ? std::string() : "\"" + text + "\"";
}

std::string mediumText(const BlockDevice& device) {
    if (device.kind == BlockKind::optical || !device.rotational) {
        return {};
    }
    return *device.rotational ? "rotational" : "solid state";
}

std::string diskFacts(const BlockDevice& device) {
    const Disk& disk = device.disk;
    return joinedFacts(
        {disk.transport, mediumText(device),
         disk.vendor + (disk.vendor.empty() || disk.model.empty() ? "" : " ") + disk.model,
         labelled("serial", disk.serial), labelled("firmware", disk.firmware),
         labelled("SCSI", disk.scsiAddress), labelled("target", knownNameText(disk.targetPort)),
         disk.removable ? "removable" : "", disk.state == "running" ? "" : disk.state});
}

std::string volumeFacts(const Volume& volume) {
    const auto working =
        std::count_if(volume.members.begin(), volume.members.end(), [](const VolumeMember& member) {
            return member.state.find("in_sync") != std::string::npos;
        });
    const std::string members =
        volume.places == 0
            ? ""
            : std::to_string(working) + " of " + std::to_string(volume.places) + " members in sync";
    return joinedFacts({volume.name, volume.state == "running" ? "" : volume.state, members,
                        volume.degraded == 0 ? "" : "degraded", volume.cacheMode,
                        labelled("file", volume.backingFile)});
}

std::string contentFacts(const BlockDevice& device) {
    const Content& content = device.content;
    std::string space;
    if (device.space && device.space->size > 0) {
        const double percent = 100.0 * static_cast<double>(device.space->used) /
                               static_cast<double>(device.space->size);
        space =
            std::to_string(std::lround(percent)) + "% of " + sizeText(device.space->size) + " used";
    }
    return joinedFacts({content.type, quoted(content.label), space});
}

std::string deviceText(const BlockDevice& device) {
    std::string kindFacts;
    if (device.kind == BlockKind::partition) {
        kindFacts = quoted(device.partition.label);
    } else {
        kindFacts =
            device.kind == BlockKind::volume ? volumeFacts(device.volume) : diskFacts(device);
    }
    const bool hasSize = device.size > 0 || device.kind != BlockKind::optical;
    return " " + joinedFacts({device.type, hasSize ? sizeText(device.size) : "no medium", kindFacts,
                              contentFacts(device), device.readOnly ? "read-only" : ""});
}

std::string mountText(const Mount& mount) {
    return " " + joinedFacts({mount.bind ? "bind mount" : "mount",
                              mount.root == "/" ? "" : labelled("of", mount.root), mount.options,
                              mount.covered ? "covered" : ""});
}

std::string swapText(const SwapArea& swap) {
    return joinedFacts({swap.isFile ? swap.path : "", sizeText(swap.size),
                        sizeText(swap.used) + " used",
                        "priority " + std::to_string(swap.priority)});
}

class CTreeBuilder {
  public:
    explicit CTreeBuilder(const StorageReport& report)
        : report_(report), storage_(report.storage), isShown_(storage_.devices.size()) {}

    std::vector<TreeNode> Build() {
        std::vector<TreeNode> nodes;
        for (std::size_t i = 0; i < storage_.controllers.size(); ++i) {
            nodes.push_back(ControllerNode(i));
        }
        TreeNode others{"no PCI controller"};
        AddRoots(others, [](const BlockDevice& device) { return device.disk.controllers.empty(); });
        // Devices that are made of each other.
        for (std::size_t i = 0; i < storage_.devices.size(); ++i) {
            if (!isShown_[i]) {
                others.children.push_back(DeviceNode(i));
            }
        }
        for (const SwapArea& swap : storage_.swapFiles) {
            others.children.push_back({"swap", " " + swapText(swap)});
        }
        if (!others.children.empty()) {
            nodes.push_back(std::move(others));
        }
        return nodes;
    }

  private:
    TreeNode ControllerNode(std::size_t index) {
        const StorageController& one = storage_.controllers[index];
        const AdapterNames& names = report_.names.at(index);
        TreeNode node{one.pciAddress,
                      " " + joinedFacts({slotText(one.slot.number), one.slot.designation,
                                         one.driver, names.device})};
        AddRoots(node, [index](const BlockDevice& device) {
            const auto& controllers = device.disk.controllers;
            return std::find(controllers.begin(), controllers.end(), index) != controllers.end();
        });
        return node;
    }

    template <class Belongs>
    void AddRoots(TreeNode& node, Belongs belongs) {
        for (std::size_t i = 0; i < storage_.devices.size(); ++i) {
            if (storage_.devices[i].parents.empty() && belongs(storage_.devices[i])) {
                node.children.push_back(DeviceNode(i));
            }
        }
    }

    TreeNode DeviceNode(std::size_t index) {
        const BlockDevice& device = storage_.devices[index];
        if (isShown_[index]) {
            return {device.name, " (see above)"};
        }
        isShown_[index] = true;
        TreeNode node{device.name, deviceText(device)};
        for (const Mount& mount : device.mounts) {
            node.children.push_back({mount.target, mountText(mount)});
        }
        for (const SwapArea& swap : device.swaps) {
            node.children.push_back({"swap", " " + swapText(swap)});
        }
        for (const std::size_t child : device.children) {
            node.children.push_back(DeviceNode(child));
        }
        return node;
    }

    const StorageReport& report_;
    const StorageInventory& storage_;
    std::vector<bool> isShown_;
};

}  // namespace

std::string storageTree(const StorageReport& report, const Terminal& terminal) {
    std::string tree =
        std::to_string(report.storage.devices.size()) +
        (report.storage.devices.size() == 1 ? " block device\n" : " block devices\n");
    tree += treeText(CTreeBuilder(report).Build(), terminal);
    for (const std::string& one : report.storage.unanswered) {
        tree += "no answer in time: " + printable(one) + "\n";
    }
    return tree;
}

}  // namespace em_pni
