// Block devices in the tree of a fake machine. Also writes what "lsblk --sysroot" reads.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "storage/storage_scan.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni::test {

using Texts = std::map<std::string, std::string>;

struct FakeBlock {
    std::string number;                // "8:0"
    std::size_t sectors = 64;          // of 512 bytes
    Texts files{};                     // below the folder of the block device
    Texts device{};                    // below the folder of the device that it belongs to
    Texts properties{};                // of its udev record
    std::vector<std::string> links{};  // of its udev record
    bool hasRecord = true;
};

class CFakeDisks : public CFakeMachine {
  public:
    // `path` is below sys/devices: "pci0000:00/.../0:0:0:0/block/sda", ".../block/sda/sda1".
    void Block(const std::string& path, const FakeBlock& block) {
        const std::string name = path.substr(path.rfind('/') + 1);
        const std::string parent = path.substr(0, path.rfind('/'));
        const std::size_t colon = block.number.find(':');
        const bool isPartition = block.files.count("partition") != 0;
        const std::string folder = "sys/devices/" + path + "/";
        std::string event = "DEVNAME=" + name + "\n";
        event += isPartition ? "DEVTYPE=partition\nPARTN=" + block.files.at("partition")
                             : "DEVTYPE=disk";
        if (!block.number.empty()) {
            File(folder + "dev", block.number + "\n");
            event = "MAJOR=" + block.number.substr(0, colon) +
                    "\nMINOR=" + block.number.substr(colon + 1) + "\n" + event;
        }
        File(folder + "uevent", event + "\n");
        File(folder + "size", std::to_string(block.sectors) + "\n");
        File(folder + "ro", "0\n");
        if (!isPartition) {
            File(folder + "removable", "0\n");
            File(folder + "queue/logical_block_size", "512\n");
            File(folder + "queue/physical_block_size", "4096\n");
            File(folder + "queue/rotational", "1\n");
        }
        for (const auto& [file, text] : block.files) {
            File(folder + file, text + "\n");
        }
        if (!block.device.empty()) {
            // The folder "block" is not a device.
            const bool isBelow = parent.ends_with("/block");
            const std::string device = isBelow ? parent.substr(0, parent.size() - 6) : parent;
            for (const auto& [file, text] : block.device) {
                File("sys/devices/" + device + "/" + file, text + "\n");
            }
            Link(folder + "device",
                 (isBelow ? "../../../" : "../../") + device.substr(device.rfind('/') + 1));
        }
        Link("sys/class/block/" + name, "../../devices/" + path);
        if (!isPartition) {
            Link("sys/block/" + name, "../devices/" + path);
        }
        if (!block.number.empty()) {
            Link("sys/dev/block/" + block.number, "../../devices/" + path);
        }
        if (block.hasRecord) {
            Record(name, block);
        }
    }
    void Slaves(const std::string& path, const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            Link("sys/devices/" + path + "/slaves/" + name, "../../../../../class/block/" + name);
            if (std::filesystem::exists(Path("sys/class/block/" + name))) {
                const std::string holder = path.substr(path.rfind('/') + 1);
                Link("sys/class/block/" + name + "/holders/" + holder, "../../../../" + path);
            }
        }
    }

    StorageInventory ScanStorage() { return scanStorage(Machine(), {}); }

  private:
    void Record(const std::string& name, const FakeBlock& block) {
        std::string record = "I:1234567\n";
        std::string properties;
        for (const std::string& link : block.links) {
            record += "S:" + link + "\n";
        }
        for (const auto& [key, value] : block.properties) {
            record += "E:" + key + "=" + value + "\n";
            properties += key + "=" + value + "\n";
        }
        File("run/udev/data/b" + block.number, record + "G:systemd\n");
        File("dev/" + name, properties);
    }
};

// The device with this kernel name; an empty one when there is none.
inline const BlockDevice& deviceNamed(const StorageInventory& storage, const std::string& name) {
    static const BlockDevice none;
    for (const BlockDevice& device : storage.devices) {
        if (device.name == name) {
            return device;
        }
    }
    return none;
}

// A swap area with a label and a UUID.
inline std::string swapImage() {
    std::string image(std::size_t{1} << 20U, '\0');
    image.replace(1024, 8, std::string("\1\0\0\0\xFF\0\0\0", 8));
    image.replace(1024 + 12, 16, "0123456789abcdef");
    image.replace(1024 + 28, 6, "swap 1");
    image.replace(4096 - 10, 10, "SWAPSPACE2");
    return image;
}

inline std::vector<std::string> namesOf(const StorageInventory& storage,
                                        const std::vector<std::size_t>& indexes) {
    std::vector<std::string> names;
    for (const std::size_t index : indexes) {
        names.push_back(storage.devices.at(index).name);
    }
    return names;
}

}  // namespace em_pni::test
