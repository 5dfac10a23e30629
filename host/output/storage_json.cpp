#include <initializer_list>

#include "host/output/adapter_report.h"
#include "host/output/json_members.h"
#include "host/output/pci_facts.h"
#include "host/output/storage_report.h"
#include "platform/number.h"

namespace em_pni {

namespace {

const char* nameOf(BlockKind kind) {
    switch (kind) {
        case BlockKind::disk:
            return "disk";
        case BlockKind::optical:
            return "optical";
        case BlockKind::partition:
            return "partition";
        case BlockKind::volume:
            break;
    }
    return "volume";
}

class CStorageDocument {
  public:
    explicit CStorageDocument(const StorageReport& report)
        : report_(report), storage_(report.storage) {
        writer_.SetIndent(' ', 2);
        writer_.StartObject();
        members_.Objects("Controllers", storage_.controllers,
                         [this](const StorageController& one) { Write(one); });
        members_.Objects("NvmeControllers", storage_.nvmeControllers,
                         [this](const NvmeController& one) { Write(one); });
        members_.Objects("Devices", storage_.devices,
                         [this](const BlockDevice& one) { Write(one); });
        members_.Objects("SwapFiles", storage_.swapFiles,
                         [this](const SwapArea& one) { Write(one); });
        members_.Texts("Unanswered", storage_.unanswered);
        writer_.EndObject();
    }

    [[nodiscard]] std::string Text() const { return {text_.GetString(), text_.GetSize()}; }

  private:
    struct TextMember {
        const char* key;
        const std::string& text;
    };

    void WriteTexts(std::initializer_list<TextMember> members) {
        for (const TextMember& member : members) {
            members_.Text(member.key, member.text);
        }
    }

    void Write(const StorageController& one) {
        const auto index = static_cast<std::size_t>(&one - storage_.controllers.data());
        members_.Text("PciAddress", one.pciAddress);
        members_.Number("Slot", one.slot.number, unknownSlot);
        WriteTexts({{"SlotDesignation", one.slot.designation},
                    {"SlotSource", em_pni::nameOf(one.slot.source)},
                    {"ClassCode", one.classCode == 0 ? "" : lowerHex(one.classCode, 4)}});
        writePciIds(members_, one.ids, report_.names.at(index));
        members_.Text("Driver", one.driver);
    }

    void Write(const NvmeController& one) {
        WriteTexts({{"Name", one.name},
                    {"PciAddress", one.pciName},
                    {"Transport", one.transport},
                    {"Address", one.address},
                    {"State", one.state},
                    {"Subsystem", one.subsystem},
                    {"Model", one.model},
                    {"SerialNumber", one.serial},
                    {"FirmwareVersion", one.firmware},
                    {"TargetWWPN", knownNameText(one.targetPort)}});
    }

    void Write(const BlockDevice& one) {
        WriteTexts({{"Name", one.name},
                    {"Path", one.path},
                    {"Kind", nameOf(one.kind)},
                    {"Type", one.type},
                    {"DeviceNumber", std::to_string(one.major) + ":" + std::to_string(one.minor)}});
        members_.Texts("Parents", NamesOf(one.parents));
        members_.Texts("Children", NamesOf(one.children));
        members_.Texts("Links", one.links);
        members_.Text("SysfsPath", one.sysfsPath);
        members_.Number("Size", one.size);
        members_.Bool("ReadOnly", one.readOnly);
        members_.Number("LogicalBlockSize", one.logicalBlock, 0);
        members_.Number("PhysicalBlockSize", one.physicalBlock, 0);
        one.rotational ? members_.Bool("Rotational", *one.rotational) : members_.Null("Rotational");
        WriteKind(one);
        members_.Object("Content", [&] { Write(one.content); });
        if (one.space) {
            members_.Object("Space", [&] {
                members_.Number("Size", one.space->size);
                members_.Number("Used", one.space->used);
                members_.Number("Available", one.space->available);
            });
        } else {
            members_.Null("Space");
        }
        members_.Objects("Mounts", one.mounts, [this](const Mount& mount) { Write(mount); });
        members_.Objects("Swaps", one.swaps, [this](const SwapArea& swap) { Write(swap); });
    }

    void WriteKind(const BlockDevice& one) {
        if (one.kind == BlockKind::partition) {
            members_.Object("Partition", [&] { Write(one.partition); });
        } else if (one.kind == BlockKind::volume) {
            members_.Object("Volume", [&] { Write(one.volume); });
        } else {
            members_.Object("Disk", [&] { Write(one.disk); });
        }
    }

    void Write(const Disk& disk) {
        WriteTexts({{"Transport", disk.transport},
                    {"Vendor", disk.vendor},
                    {"Model", disk.model},
                    {"SerialNumber", disk.serial},
                    {"FirmwareVersion", disk.firmware},
                    {"WWN", disk.wwn},
                    {"NGUID", disk.nguid},
                    {"EUI64", disk.eui64}});
        members_.Number("NamespaceId", disk.namespaceId, 0);
        members_.Bool("Removable", disk.removable);
        WriteTexts({{"State", disk.state},
                    {"ScsiAddress", disk.scsiAddress},
                    {"TargetWWPN", knownNameText(disk.targetPort)}});
        std::vector<std::string> controllers;
        for (const std::size_t controller : disk.controllers) {
            controllers.push_back(storage_.controllers.at(controller).pciAddress);
        }
        members_.Texts("Controllers", controllers);
        members_.Objects("Paths", disk.paths, [this](const NvmePath& path) {
            WriteTexts({{"Controller", storage_.nvmeControllers.at(path.controller).name},
                        {"State", path.state}});
        });
    }

    void Write(const Partition& partition) {
        members_.Number("Number", partition.number, 0);
        members_.Number("Start", partition.start);
        WriteTexts({{"Scheme", partition.scheme},
                    {"Type", partition.type},
                    {"UUID", partition.uuid},
                    {"Label", partition.label},
                    {"Flags", partition.flags}});
    }

    void Write(const Volume& volume) {
        WriteTexts({{"Name", volume.name},
                    {"UUID", volume.uuid},
                    {"Group", volume.group},
                    {"LogicalVolume", volume.logicalVolume},
                    {"State", volume.state},
                    {"CacheMode", volume.cacheMode},
                    {"BackingFile", volume.backingFile}});
        members_.Number("Places", volume.places, 0);
        members_.Number("DegradedPlaces", std::uint64_t{volume.degraded});
        members_.Objects("Members", volume.members, [this](const VolumeMember& member) {
            WriteTexts({{"Name", member.name}, {"Place", member.place}, {"State", member.state}});
        });
    }

    void Write(const Content& content) {
        WriteTexts({{"Usage", content.usage},
                    {"Type", content.type},
                    {"Version", content.version},
                    {"Label", content.label},
                    {"UUID", content.uuid},
                    {"PartitionTable", content.tableType},
                    {"PartitionTableUUID", content.tableUuid}});
    }

    void Write(const Mount& mount) {
        WriteTexts({{"Target", mount.target},
                    {"Type", mount.type},
                    {"Root", mount.root},
                    {"Options", mount.options}});
        members_.Bool("Bind", mount.bind);
        members_.Bool("Covered", mount.covered);
    }

    void Write(const SwapArea& swap) {
        members_.Text("Path", swap.path);
        members_.Number("Size", swap.size);
        members_.Number("Used", swap.used);
        members_.Integer("Priority", swap.priority);
    }

    [[nodiscard]] std::vector<std::string> NamesOf(const std::vector<std::size_t>& indexes) const {
        std::vector<std::string> names;
        names.reserve(indexes.size());
        for (const std::size_t index : indexes) {
            names.push_back(storage_.devices.at(index).name);
        }
        return names;
    }

    const StorageReport& report_;
    const StorageInventory& storage_;
    rapidjson::StringBuffer text_;
    CJsonMembers::Writer writer_{text_};
    CJsonMembers members_{writer_};
};

}  // namespace

std::string storageJson(const StorageReport& report) {
    return CStorageDocument(report).Text();
}

}  // namespace em_pni
