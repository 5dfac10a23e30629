// Storage: the same facts as lsblk shows.
#include <cstdio>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <set>

#include "storage/attributes.h"
#include "tests/storage_made_up_server.h"

namespace em_pni {
namespace {

using test::buildServer;
using test::CFakeDisks;
using test::deviceNamed;
using test::namesOf;
using test::swapImage;
using Names = std::vector<std::string>;

// The output of a command, as JSON.
rapidjson::Document jsonOf(const std::string& command) {
    std::string text;
    if (std::FILE* const pipe = ::popen((command + " 2>/dev/null").c_str(), "r")) {
        char block[4096];
        for (std::size_t got = 0; (got = std::fread(block, 1, sizeof(block), pipe)) > 0;) {
            text.append(block, got);
        }
        ::pclose(pipe);
    }
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    return document;
}

std::string memberText(const rapidjson::Value& object, const char* key) {
    const auto found = object.FindMember(key);
    if (found == object.MemberEnd() || found->value.IsNull()) {
        return "";
    }
    if (found->value.IsString()) {
        return singleBlanks(found->value.GetString());
    }
    return found->value.IsBool() ? (found->value.GetBool() ? "true" : "false")
                                 : std::to_string(found->value.GetUint64());
}

// What lsblk says, unless the text is empty: lsblk reads less of a tree than of its machine.
void expectLikeLsblk(const StorageInventory& storage, const rapidjson::Value& theirs,
                     std::set<std::string>& seen) {
    const std::string name = memberText(theirs, "kname");
    const BlockDevice& ours = deviceNamed(storage, name);
    seen.insert(name);
    std::set<std::string> targets;
    for (const Mount& mount : ours.mounts) {
        targets.insert(mount.target);
    }
    for (const SwapArea& swap : ours.swaps) {
        targets.insert(swap.size > 0 ? "[SWAP]" : "");
    }
    for (const rapidjson::Value& one : theirs["mountpoints"].GetArray()) {
        EXPECT_TRUE(one.IsNull() || targets.count(one.GetString()) == 1) << name;
    }
    const bool isPartition = ours.kind == BlockKind::partition;
    const auto flag = [](bool value) { return std::string(value ? "true" : "false"); };
    const std::vector<std::pair<const char*, std::string>> expected{
        {"maj:min", std::to_string(ours.major) + ":" + std::to_string(ours.minor)},
        {"type", ours.type == "zram" ? "disk" : ours.type},
        {"ro", flag(ours.readOnly)},
        {"size", ours.type == "rom" ? "" : std::to_string(ours.size)},
        {"rota", isPartition ? "" : flag(ours.rotational.value_or(false))},
        {"log-sec", isPartition ? "" : std::to_string(ours.logicalBlock)},
        {"phy-sec", isPartition ? "" : std::to_string(ours.physicalBlock)},
        {"rm", ours.kind == BlockKind::disk ? flag(ours.disk.removable) : ""},
        {"vendor", ours.disk.vendor},
        {"serial", ours.disk.serial},
        {"wwn", isPartition ? "" : ours.disk.wwn},
        {"hctl", ours.disk.scsiAddress},
        {"tran", ours.disk.transport},
        {"start", isPartition ? std::to_string(ours.partition.start / 512) : ""},
        {"fstype", ours.content.type},
        {"label", ours.content.label},
        {"uuid", ours.content.uuid},
        {"parttype", ours.partition.type},
        {"partuuid", ours.partition.uuid},
        {"partlabel", ours.partition.label},
        {"partflags", ours.partition.flags},
        {"pttype", isPartition ? "" : ours.content.tableType}};
    for (const auto& [key, text] : expected) {
        const std::string other = memberText(theirs, key);
        EXPECT_TRUE(other.empty() || text.empty() || other == text)
            << name << " " << key << ": " << other << ", not " << text;
    }
    if (theirs.HasMember("children")) {
        for (const rapidjson::Value& child : theirs["children"].GetArray()) {
            EXPECT_EQ(namesOf(storage, ours.children).empty(), false) << name;
            expectLikeLsblk(storage, child, seen);
        }
    }
}

void expectLikeLsblk(const StorageInventory& storage, const std::string& options,
                     const Names& names) {
    const rapidjson::Document theirs = jsonOf("lsblk --json --bytes -O " + options);
    if (!theirs.IsObject() || !theirs.HasMember("blockdevices")) {
        GTEST_SKIP() << "no lsblk with option -O here";
    }
    std::set<std::string> seen;
    for (const rapidjson::Value& one : theirs["blockdevices"].GetArray()) {
        expectLikeLsblk(storage, one, seen);
    }
    for (const std::string& name : names) {
        EXPECT_EQ(seen.count(name), 1U) << name;
    }
}

TEST(Storage, LsblkSaysTheSameOfAMadeUpServer) {
    CFakeDisks disks;
    buildServer(disks);
    expectLikeLsblk(disks.ScanStorage(), "--sysroot " + disks.Path(""),
                    {"sda", "sda1", "sda2", "dm-0", "sdb", "sdc", "md0", "dm-1", "dm-2"});
}

TEST(Storage, LsblkSaysTheSameOfThisMachineWithALoopDevice) {
    const test::CTempDirectory folder;
    const std::string file = folder.Write("image", swapImage());
    const rapidjson::Document attached = jsonOf("losetup --find --nooverlap " + file +
                                                " && losetup --json --list --associated " + file);
    if (!attached.IsObject()) {
        GTEST_SKIP() << "this machine does not allow loop devices";
    }
    const std::string device = attached["loopdevices"][0]["name"].GetString();
    EXPECT_TRUE(jsonOf(EM_PNI_BINARY_DIR "/pni-host storage --json")["Devices"].IsArray());
    CMachine machine;
    const StorageInventory storage = scanStorage(machine, {});
    EXPECT_EQ(std::system(("losetup --detach " + device).c_str()), 0);
    const BlockDevice& loop = deviceNamed(storage, device.substr(5));
    EXPECT_EQ(loop.volume.backingFile, file);
    EXPECT_EQ(loop.size, std::size_t{1} << 20U);
    expectLikeLsblk(storage, "", {});
}

}  // namespace
}  // namespace em_pni
