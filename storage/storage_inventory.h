// The storage of a machine as plain structs. Empty texts and values are not known. Texts come from
// devices and file systems and may hold any bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "devscan/pci_function.h"
#include "devscan/slot_tables.h"
#include "platform/address.h"

namespace em_pni {

// A PCI function that disks hang on, or another one of the storage class.
struct StorageController {
    // "0000:03:00.0". Behind a volume management device there are five digits before the first
    // colon.
    std::string pciAddress;
    PciIds ids;
    std::uint16_t classCode = 0;
    std::string driver;
    SlotAnswer slot;
};

struct NvmeController {
    std::string name;       // "nvme0"
    std::string transport;  // "pcie", "tcp", "fc", "rdma", "loop"
    std::string address;    // PCI address, or "traddr=192.0.2.9,trsvcid=4420"
    std::string state;      // "live"
    std::string subsystem;  // its NVMe qualified name
    std::string model;
    std::string serial;
    std::string firmware;
    WorldWideName targetPort = 0;           // of a Fibre Channel target
    std::string pciName;                    // address of its PCI function or Fibre Channel host
    std::optional<std::size_t> controller;  // index of the PCI function
};

// A way to a namespace.
struct NvmePath {
    std::size_t controller = 0;  // index of the NvmeController
    std::string state;           // asymmetric access: "optimized"; empty = the only way
};

struct Disk {
    std::string transport;  // "sata", "ata", "sas", "fc", "iscsi", "usb", "virtio", "mmc",
                            // "nvme-pcie", "nvme-tcp", ...
    std::string vendor;
    std::string model;
    std::string serial;
    std::string firmware;
    std::string wwn;    // "0x5000c500a1b2c3d4"; "eui.", "nvme." or "uuid." and text for a namespace
    std::string nguid;  // both of a namespace, lower case hexadecimal digits
    std::string eui64;
    std::uint32_t namespaceId = 0;  // 0 = not a namespace
    std::string state;              // of a SCSI device: "running", "offline"
    std::string scsiAddress;        // host:channel:target:unit
    WorldWideName targetPort = 0;   // of the only Fibre Channel target
    bool removable = false;
    std::string pciName;                   // address of the PCI function it hangs on
    std::vector<std::size_t> controllers;  // indexes of the PCI functions
    std::vector<NvmePath> paths;           // of a namespace
};

struct Partition {
    std::uint32_t number = 0;
    std::uint64_t start = 0;  // in bytes
    std::string scheme;       // "gpt", "dos"
    std::string type;         // a UUID, or "0x83"
    std::string uuid;
    std::string label;
    std::string flags;  // "0x80"
};

// A member of an md array, as the array sees it.
struct VolumeMember {
    std::string name;   // kernel name of the device
    std::string place;  // number in the array; "none" for a spare
    std::string state;  // "in_sync", "faulty", "spare"
};

struct Volume {
    std::string name;   // of the device mapper: "vg-root"
    std::string uuid;   // of device mapper or array
    std::string group;  // both of an LVM volume
    std::string logicalVolume;
    std::string state;      // of an array or cache: "clean", "active"; else "running", "suspended"
    std::string cacheMode;  // of a bcache device: "writeback"
    std::string backingFile;     // of a loop device
    std::uint32_t places = 0;    // in an array
    std::uint32_t degraded = 0;  // places without a working member
    std::vector<VolumeMember> members;
};

// What a device holds as a whole.
struct Content {
    std::string usage;  // "filesystem", "raid" (member of a volume), "crypto", "other" (swap)
    std::string type;   // "ext4", "LVM2_member", "linux_raid_member", "crypto_LUKS", "swap"
    std::string version;
    std::string label;
    std::string uuid;
    std::string tableType;  // partition table: "gpt", "dos"
    std::string tableUuid;
};

// In bytes.
struct SpaceUsage {
    std::uint64_t size = 0;
    std::uint64_t used = 0;
    std::uint64_t available = 0;  // to users other than root
};

struct Mount {
    std::string target;
    std::string root;  // folder of the file system that is mounted: "/" or "/srv"
    std::string type;
    std::string options;
    bool bind = false;     // shows a folder, or what another mount already shows
    bool covered = false;  // a later mount has the same target
};

struct SwapArea {
    std::string path;  // as the kernel shows it
    bool isFile = false;
    std::uint64_t size = 0;  // both in bytes
    std::uint64_t used = 0;
    int priority = 0;
};

enum class BlockKind : std::uint8_t { disk, optical, partition, volume };

struct BlockDevice {
    BlockKind kind = BlockKind::disk;
    std::string type;  // as lsblk names it: "disk", "rom", "part", "lvm", "crypt", "raid1", "mpath"
    std::string name;  // of the kernel
    std::string path;  // "/dev/sda"
    std::string sysfsPath;           // below /sys
    std::vector<std::string> links;  // "/dev/disk/by-id/...", "/dev/mapper/vg-root", sorted
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t size = 0;  // bytes
    bool readOnly = false;
    std::uint32_t logicalBlock = 0;  // bytes; 0 = as the disk of a partition
    std::uint32_t physicalBlock = 0;
    std::optional<bool> rotational;
    bool hasUdevRecord = false;
    Disk disk;            // of kinds disk and optical
    Partition partition;  // of kind partition
    Volume volume;        // of kind volume
    Content content;
    std::optional<SpaceUsage> space;
    std::vector<Mount> mounts;
    std::vector<SwapArea> swaps;
    std::vector<std::size_t> parents;   // devices that this one is made of
    std::vector<std::size_t> children;  // devices made of this one
};

struct StorageInventory {
    std::vector<StorageController> controllers;  // in order of address
    std::vector<NvmeController> nvmeControllers;
    std::vector<BlockDevice> devices;  // sdz goes before sdaa
    std::vector<SwapArea> swapFiles;
    std::vector<std::string> unanswered;  // what did not answer in time: "/mnt/backup", "/dev/sdb"
};

}  // namespace em_pni
