#include "storage/block_devices.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "devscan/hardware_address.h"
#include "platform/number.h"
#include "platform/text.h"
#include "storage/attributes.h"
#include "storage/volumes.h"

namespace em_pni {
namespace {

constexpr const char* blockDirectory = "sys/class/block";
constexpr std::uint64_t sector = 512;  // unit of all sizes in sysfs

// Returns no value when the attribute is missing or not a number of sectors.
std::optional<std::uint64_t> bytesIn(const COpenFolder& folder, const char* attribute) {
    const auto sectors = parseDecimal(attributeText(folder, attribute),
                                      std::numeric_limits<std::uint64_t>::max() / sector);
    return sectors ? std::optional(*sectors * sector) : std::nullopt;
}

// The file "uevent" of a block device.
struct DeviceEvent {
    std::optional<std::uint32_t> major;
    std::optional<std::uint32_t> minor;
    bool isPartition = false;
    std::uint32_t partition = 0;
};

DeviceEvent parseDeviceEvent(std::string_view text) {
    DeviceEvent event;
    while (!text.empty()) {
        std::string_view value = takeUntil(text, '\n');
        const std::string_view key = takeUntil(value, '=');
        constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
        const auto number = parseDecimal(value, max);
        if (key == "DEVTYPE") {
            event.isPartition = value == "partition";
        } else if (number && key == "MAJOR") {
            event.major = static_cast<std::uint32_t>(*number);
        } else if (number && key == "MINOR") {
            event.minor = static_cast<std::uint32_t>(*number);
        } else if (number && key == "PARTN") {
            event.partition = static_cast<std::uint32_t>(*number);
        }
    }
    return event;
}

// By-id links, and those that name a volume. Other links name the place or the content.
bool isStable(std::string_view link) noexcept {
    return link.starts_with("disk/by-id/") || !link.starts_with("disk/");
}

// The serial number in page 0x80 of the vital product data, which is behind the header of the page.
std::string serialOfPage(const std::string& page) {
    constexpr std::size_t header = 4;
    return page.size() < header ? std::string()
                                : singleBlanks(printableText(trimBlanks(page.substr(header))));
}

// Whether the kernel has made a device that nobody uses yet.
bool isUnused(const COpenFolder& directory, const std::string& name) {
    return (name.starts_with("loop") || name.starts_with("nbd")) &&
           attributeText(directory, name + "/size") == "0";
}

std::string withoutBlanks(std::string text) {
    std::erase(text, ' ');
    return text;
}

std::string firstOf(std::initializer_list<std::string> texts) {
    const auto found =
        std::find_if(texts.begin(), texts.end(), [](const auto& text) { return !text.empty(); });
    return found == texts.end() ? std::string() : *found;
}

class CBlockCollector {
  public:
    explicit CBlockCollector(const CFileTree& files) : files_(files) {}

    // Returns no value for a device that is left out.
    std::optional<FoundDevice> Read(const std::string& name, const std::string& link) {
        const auto folder = files_.OpenFolder(joinedPath({blockDirectory, name}));
        const auto text = folder ? folder->ReadAttribute("uevent") : std::nullopt;
        const DeviceEvent event = parseDeviceEvent(text.value_or(""));
        if (!event.major || !event.minor) {
            return std::nullopt;
        }
        FoundDevice found;
        BlockDevice& device = found.device;
        device.name = name;
        device.major = *event.major;
        device.minor = *event.minor;
        device.sysfsPath = pathBelowSys(link);
        device.path = "/dev/" + name;
        std::replace(device.path.begin(), device.path.end(), '!', '/');
        device.readOnly = attributeText(*folder, "ro") == "1";
        const auto record = readUdevRecord(files_, device.major, device.minor);
        device.hasUdevRecord = record.has_value();
        const CUdevRecord known = record.value_or(CUdevRecord());
        if (event.isPartition) {
            AddPartition(*folder, event.partition, found);
        } else {
            AddWhole(*folder, known, found);
        }
        AddRecord(known, device);
        // The last file: a device that has it has lived as long as the reading.
        const auto size = bytesIn(*folder, "size");
        if (!size) {
            return std::nullopt;
        }
        // A drive without a medium shows the size of the last one, or one of its own.
        const bool hasMedium = device.kind != BlockKind::optical || !device.hasUdevRecord ||
                               known.Property("ID_CDROM_MEDIA") == "1";
        device.size = hasMedium ? *size : 0;
        return found;
    }

  private:
    static void AddPartition(const COpenFolder& folder, std::uint32_t number, FoundDevice& found) {
        BlockDevice& device = found.device;
        device.kind = BlockKind::partition;
        device.type = "part";
        device.partition.number = number;
        device.partition.start = bytesIn(folder, "start").value_or(0);
        const std::string_view disk =
            std::string_view(device.sysfsPath).substr(0, device.sysfsPath.rfind('/'));
        found.parents.emplace_back(disk.substr(disk.rfind('/') + 1));
    }

    void AddWhole(const COpenFolder& folder, const CUdevRecord& record, FoundDevice& found) {
        BlockDevice& device = found.device;
        device.logicalBlock = attributeNumber(folder, "queue/logical_block_size");
        device.physicalBlock = attributeNumber(folder, "queue/physical_block_size");
        if (const std::string text = attributeText(folder, "queue/rotational"); !text.empty()) {
            device.rotational = text != "0";
        }
        if (device.sysfsPath.starts_with("devices/virtual/block/")) {
            device.kind = BlockKind::volume;
            addVolumeFacts(files_, folder, device);
            found.parents = files_.List(joinedPath({"sys", device.sysfsPath, "slaves"}))
                                .value_or(std::vector<std::string>());
        } else {
            AddDisk(folder, record, found);
        }
    }

    void AddDisk(const COpenFolder& folder, const CUdevRecord& record, FoundDevice& found) {
        BlockDevice& device = found.device;
        const bool isOptical = device.name.starts_with("sr");
        device.kind = isOptical ? BlockKind::optical : BlockKind::disk;
        device.type = isOptical ? "rom" : "disk";
        const DevicePath path = parseDevicePath(device.sysfsPath);
        Disk& disk = device.disk;
        disk.removable = attributeText(folder, "removable") == "1";
        disk.pciName = path.pciName;
        disk.transport = path.transport;
        disk.scsiAddress = path.scsiAddress;
        if (!path.scsiAddress.empty()) {
            AddScsi(folder, path, record, device.hasUdevRecord, disk);
        } else if (device.name.starts_with("nvme")) {
            found.nvme = path.nvme;
            AddNamespace(folder, disk);
        } else if (path.transport == "mmc") {
            AddCard(folder, disk);
        } else {
            disk.vendor = identityText(folder, "device/vendor");
        }
        AddIdentity(record, disk);
    }

    void AddScsi(const COpenFolder& folder, const DevicePath& path, const CUdevRecord& record,
                 bool hasRecord, Disk& disk) {
        disk.vendor = identityText(folder, "device/vendor");
        disk.state = identityText(folder, "device/state");
        if (record.Property("ID_MODEL").empty()) {
            disk.model = identityText(folder, "device/model");
        }
        if (record.Property("ID_REVISION").empty()) {
            disk.firmware = identityText(folder, "device/rev");
        }
        if (!hasRecord) {
            disk.serial = serialOfPage(attributeText(folder, "device/vpd_pg80"));
            // "naa.5000c500a1b2c3d4"; "t10." is not a worldwide name.
            if (const std::string id = identityText(folder, "device/wwid");
                id.starts_with("naa.")) {
                disk.wwn = "0x" + id.substr(4);
            }
            if (identityText(folder, "device/power/runtime_status") == "suspended") {
                disk.state = "suspended";
            }
        }
        if (path.transport == "ata") {
            disk.transport = AtaTransport(path.scsiHost);
        }
        disk.targetPort = path.remotePort.empty() ? 0 : PortName(path.remotePort);
    }

    static void AddNamespace(const COpenFolder& folder, Disk& disk) {
        disk.wwn = identityText(folder, "wwid");
        disk.nguid = withoutBlanks(identityText(folder, "nguid"));
        std::erase(disk.nguid, '-');
        disk.eui64 = withoutBlanks(identityText(folder, "eui"));
        disk.namespaceId = attributeNumber(folder, "nsid");
    }

    static void AddCard(const COpenFolder& folder, Disk& disk) {
        disk.model = identityText(folder, "device/name");
        disk.serial = identityText(folder, "device/serial");
        disk.firmware = identityText(folder, "device/fwrev");
    }

    // What udevd knows goes before the attributes: it has asked the disk itself, where sysfs has
    // cut texts.
    static void AddIdentity(const CUdevRecord& record, Disk& disk) {
        const auto take = [](std::string& fact, std::string text) {
            if (!text.empty()) {
                fact = std::move(text);
            }
        };
        take(disk.model, singleBlanks(record.Text("ID_MODEL")));
        take(disk.firmware, record.Property("ID_REVISION"));
        take(disk.serial,
             singleBlanks(
                 firstOf({record.Property("SCSI_IDENT_SERIAL"), record.Property("ID_SCSI_SERIAL"),
                          record.Property("ID_SERIAL_SHORT"), record.Property("ID_SERIAL")})));
        take(disk.wwn,
             firstOf({record.Property("ID_WWN_WITH_EXTENSION"), record.Property("ID_WWN")}));
    }

    static void AddRecord(const CUdevRecord& record, BlockDevice& device) {
        for (const std::string& link : record.Links()) {
            if (isStable(link)) {
                device.links.push_back("/dev/" + link);
            }
        }
        if (device.volume.uuid.empty()) {
            device.volume.uuid = record.Property("MD_UUID");
        }
        addContent(record, device);
    }

    // Serial or parallel ATA. Only the driver tells.
    std::string AtaTransport(const std::string& host) {
        const auto [entry, isNew] = hostTransports_.try_emplace(host);
        if (isNew) {
            const auto driver =
                files_.ReadAttribute(joinedPath({"sys/class/scsi_host", host, "proc_name"}));
            const bool isParallel = driver && !driver->starts_with("ahci") &&
                                    !driver->starts_with("sata") &&
                                    driver->find("ata") != std::string::npos;
            entry->second = isParallel ? "ata" : "sata";
        }
        return entry->second;
    }

    // Many units are behind one port.
    WorldWideName PortName(const std::string& port) {
        const auto [entry, isNew] = portNames_.try_emplace(port, 0);
        if (isNew) {
            const auto name = files_.ReadAttribute(joinedPath(
                {"sys", port, "fc_remote_ports", port.substr(port.rfind('/') + 1), "port_name"}));
            entry->second = name ? parseWorldWideName(*name).value_or(0) : 0;
        }
        return entry->second;
    }

    const CFileTree& files_;
    std::map<std::string, std::string> hostTransports_;
    std::map<std::string, WorldWideName> portNames_;
};

}  // namespace

void addContent(const CUdevRecord& record, BlockDevice& device) {
    Content& content = device.content;
    content.usage = record.Text("ID_FS_USAGE");
    content.type = record.Text("ID_FS_TYPE");
    content.version = record.Text("ID_FS_VERSION");
    content.label = record.Text("ID_FS_LABEL");
    content.uuid = record.Text("ID_FS_UUID");
    content.tableType = record.Text("ID_PART_TABLE_TYPE");
    content.tableUuid = record.Text("ID_PART_TABLE_UUID");
    if (device.kind == BlockKind::partition) {
        Partition& partition = device.partition;
        partition.scheme = record.Text("ID_PART_ENTRY_SCHEME");
        partition.type = record.Text("ID_PART_ENTRY_TYPE");
        partition.uuid = record.Text("ID_PART_ENTRY_UUID");
        partition.label = unescaped(record.Property("ID_PART_ENTRY_NAME"));
        partition.flags = record.Text("ID_PART_ENTRY_FLAGS");
        // The record of a partition also has the table of its disk.
        content.tableType.clear();
        content.tableUuid.clear();
    }
}

FoundDevices findBlockDevices(const CFileTree& files) {
    FoundDevices found;
    const auto directory = files.OpenFolder(blockDirectory);
    auto names =
        (directory ? directory->List() : std::nullopt).value_or(std::vector<std::string>());
    std::stable_sort(names.begin(), names.end(), [](const auto& left, const auto& right) {
        return left.size() < right.size();
    });
    CBlockCollector collector(files);
    for (const std::string& name : names) {
        if (name.starts_with("ram") || isUnused(*directory, name)) {
            continue;
        }
        if (auto path = parseNvmePathName(name)) {
            const auto state = files.ReadAttribute(joinedPath({blockDirectory, name, "ana_state"}));
            found.paths.push_back({std::move(*path), printableText(state.value_or(""))});
            continue;
        }
        const auto link = directory->ReadLink(name);
        auto device = link ? collector.Read(name, *link) : std::nullopt;
        if (device) {
            found.devices.push_back(std::move(*device));
        }
    }
    return found;
}

}  // namespace em_pni
