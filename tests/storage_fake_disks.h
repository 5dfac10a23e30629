// Block devices in the tree of a fake machine. Also writes what "lsblk --sysroot" reads.
#pragma once

#include <string>
#include <vector>

#include "platform/text.h"
#include "storage/storage_scan.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni::test {

using Texts = std::vector<std::string>;

inline constexpr const char* noRecord = "no record";

class CFakeDisks : public CFakeMachine {
  public:
    // `path` is below sys/devices: "pci0000:00/.../0:0:0:0/block/sda", ".../block/sda/sda1".
    // A fact is a file of the block device, "ro=1", a file of the device that it belongs to,
    // "device/vendor=ATA", a property of its udev record, "ID_BUS=ata", a link of the record,
    // "S:disk/by-id/x", or noRecord.
    void Block(const std::string& path, const std::string& number, const Texts& facts = {}) {
        const std::string name = path.substr(path.rfind('/') + 1);
        const std::string parent = path.substr(0, path.rfind('/'));
        const bool isBelow = parent.ends_with("/block");  // this folder is not a device
        const std::string device = isBelow ? parent.substr(0, parent.size() - 6) : parent;
        const std::string folder = "sys/devices/" + path + "/";
        const bool isPartition = std::any_of(facts.begin(), facts.end(), [](const auto& fact) {
            return fact.starts_with("partition=");
        });
        Texts all{"size=64", "ro=0"};
        if (!isPartition) {
            all.insert(all.end(), {"removable=0", "queue/logical_block_size=512",
                                   "queue/physical_block_size=4096", "queue/rotational=1"});
            Link("sys/block/" + name, "../devices/" + path);
        }
        all.insert(all.end(), facts.begin(), facts.end());
        std::string event = isPartition ? "DEVTYPE=partition\n" : "DEVTYPE=disk\n";
        std::string record = "I:1234567\n";
        std::string properties;
        bool hasDevice = false;
        for (const std::string& fact : all) {
            std::string_view rest = fact;
            const std::string key(takeUntil(rest, '='));
            const std::string value = std::string(rest) + "\n";
            if (fact == noRecord) {
                record.clear();
            } else if (key.starts_with("S:")) {
                record += fact + "\n";
            } else if (key.front() >= 'A' && key.front() <= 'Z') {
                record += "E:" + fact + "\n";
                properties += fact + "\n";
            } else if (key.starts_with("device/")) {
                File("sys/devices/" + device + key.substr(6), value);
                hasDevice = true;
            } else {
                File(folder + key, value);
                event += key == "partition" ? "PARTN=" + value : "";
            }
        }
        if (hasDevice) {
            Link(folder + "device",
                 (isBelow ? "../../../" : "../../") + device.substr(device.rfind('/') + 1));
        }
        if (const std::size_t colon = number.find(':'); colon != std::string::npos) {
            event += "MAJOR=" + number.substr(0, colon) + "\nMINOR=" + number.substr(colon + 1);
            File(folder + "dev", number + "\n");
            Link("sys/dev/block/" + number, "../../devices/" + path);
        }
        File(folder + "uevent", event);
        Link("sys/class/block/" + name, "../../devices/" + path);
        if (!record.empty()) {
            File("run/udev/data/b" + number, record + "G:systemd\n");
            File("dev/" + name, properties);
        }
    }
    void Slaves(const std::string& path, const Texts& names) {
        for (const std::string& name : names) {
            Link("sys/devices/" + path + "/slaves/" + name, "../../../../../class/block/" + name);
            if (std::filesystem::exists(Path("sys/class/block/" + name))) {
                const std::string holder = path.substr(path.rfind('/') + 1);
                Link("sys/class/block/" + name + "/holders/" + holder, "../../../../" + path);
            }
        }
    }

    StorageInventory ScanStorage() { return scanStorage(Machine(), {}); }
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
