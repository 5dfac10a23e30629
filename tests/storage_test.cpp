// Storage: scans of made-up trees, their tree and JSON.
#include <cstdio>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include "host/output/storage_report.h"
#include "storage/storage_resolver.h"
#include "tests/storage_made_up_server.h"

namespace em_pni {
namespace {

using test::buildServer;
using test::CFakeDisks;
using test::deviceNamed;
using test::namesOf;
using test::swapImage;
using Names = std::vector<std::string>;
using namespace std::chrono_literals;

TEST(Storage, AServerWithAShelfAnArrayAndAnEncryptedRoot) {
    CFakeDisks disks;
    buildServer(disks);
    const StorageInventory storage = disks.ScanStorage();
    EXPECT_EQ(deviceNamed(storage, "sda").links.size(), 2U);
    EXPECT_EQ(deviceNamed(storage, "sda1").partition.start, 1048576U);
    EXPECT_EQ(deviceNamed(storage, "md0").volume.members.at(1).place, "none");
    const Volume& srv = deviceNamed(storage, "dm-1").volume;
    EXPECT_EQ(srv.group + "/" + srv.logicalVolume, "vg-data/srv-1");
    EXPECT_TRUE(storage.unanswered.empty());
    StorageReport report{storage, std::vector<AdapterNames>(2)};
    for (BlockDevice& device : report.storage.devices) {
        device.space.reset();
        if (device.name == "sda") {
            device.space = SpaceUsage{4096, 1024, 2048};
            device.disk.serial = "\033[2J\xFF";
        }
    }
    EXPECT_EQ(storageTree(report), R"(10 block devices
├─ 0000:00:17.0 onboard, ahci
│  ├─ sda disk, 476.9 GiB, sata, solid state, ATA Samsung SSD 860 EVO 512GB, serial ?[2J)"
                                   "\xEF\xBF\xBD"
                                   R"(, firmware RVT04B6Q, SCSI 0:0:0:0, 25% of 4.0 KiB used
│  │  ├─ sda1 part, 512.0 MiB, "EFI System", vfat, "EFI 1"
│  │  │  └─ /boot/efi mount, rw
│  │  └─ sda2 part, 32.0 KiB, crypto_LUKS
│  │     └─ dm-0 crypt, 32.0 KiB, root, ext4
│  │        └─ / mount, rw,relatime,errors=remount-ro
│  └─ sr0 rom, no medium, sata, TSSTcorp DVD, SCSI 0:0:1:0, removable
├─ 0000:81:00.0 slot 4, PCIe Slot 4, mpt3sas
│  ├─ sdb disk, 32.0 KiB, sas, rotational, SEAGATE ST4000NM0025, SCSI 1:0:0:0, linux_raid_member
│  │  └─ md0 raid1, 32.0 KiB, clean, 1 of 2 members in sync, degraded, LVM2_member
│  │     ├─ dm-1 lvm, 32.0 KiB, vg--data-srv--1, xfs
│  │     │  ├─ /srv mount, rw, covered
│  │     │  ├─ /home bind mount, of /home, rw
│  │     │  └─ /mnt/a b bind mount, ro
│  │     └─ dm-2 lvm, 32.0 KiB, vg--data-swap, swap
│  │        └─ swap 2.0 MiB, 1.0 MiB used, priority -2
│  └─ sdc disk, 32.0 KiB, sas, rotational, SEAGATE ST4000NM0025, SCSI 1:0:1:0, linux_raid_member
│     └─ md0 (see above)
└─ no PCI controller
   └─ swap /swapfile, 4.0 KiB, 0 B used, priority 5
)");
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(storageJson(report).c_str());
    ASSERT_TRUE(document.IsObject());
    EXPECT_EQ(document["Controllers"][1]["Slot"].GetUint(), 4U);
    EXPECT_STREQ(document["Devices"][0]["Volume"]["Members"][1]["State"].GetString(), "faulty");
    const rapidjson::Value& disk = document["Devices"][1]["Disk"];
    EXPECT_STREQ(disk["SerialNumber"].GetString(), "\033[2J\xEF\xBF\xBD");
    EXPECT_STREQ(disk["Controllers"][0].GetString(), "0000:00:17.0");
    EXPECT_TRUE(disk["NGUID"].IsNull());
}

TEST(Storage, NamespacesOfSeveralControllersAreOneDevice) {
    CFakeDisks disks;
    const std::string bus = "pci0000:00/0000:00:0";
    const std::string subsystem = "virtual/nvme-subsystem/nvme-subsys0/nvme0n";
    const auto controller = [&disks](const std::string& folder, const std::string& name,
                                     const std::string& transport, const std::string& address) {
        for (const auto& [file, text] : {std::pair("transport", transport),
                                         {"address", address},
                                         {"state", "live"},
                                         {"model", "Fast NVMe   "},
                                         {"serial", "S1"},
                                         {"firmware_rev", "F1"}}) {
            disks.File("sys/devices/" + folder + "/" + name + "/" + file, text + "\n");
        }
        disks.Link("sys/class/nvme/" + name, "../../devices/" + folder + "/" + name);
    };
    for (const std::string n : {"1", "2"}) {
        disks.Bridge(bus + n + ".0", n);
        disks.Pci(bus + n + ".0/0000:0" + n + ":00.0", 0x144D, 0xA80A, 0x0108, "nvme");
        const std::string folder = bus + n + ".0/0000:0" + n + ":00.0/nvme";
        const std::string name = "nvme" + std::to_string(n[0] - '1');
        controller(folder, name, "pcie", "0000:0" + n + ":00.0");
        for (const std::string space : {"1", "2"}) {
            disks.Block(folder + "/" + name + "/nvme0c" + name.substr(4) + "n" + space, "",
                        {"ana_state=optimized", test::noRecord});
        }
    }
    for (const std::string space : {"1", "2"}) {
        disks.Block(subsystem + space, "259:" + space,
                    {"queue/rotational=0", "nsid=" + space, "wwid=eui.0025385b71b00f5f",
                     "eui=00 25 38 5b 71 b0 0f 5f", "nguid=36344630-5280-0001-0025-385300000001"});
    }
    const std::string far = "virtual/nvme-fabrics/ctl";
    controller(far, "nvme3", "fc",
               "traddr=nn-0x200400a098d8580e:pn-0x200600a098d8580e,host_traddr=nn-0x1:pn-0x2");
    disks.FcHost(bus + "1.0/0000:05:00.0", "host5", "0x1", "0x2");
    disks.Block(far + "/nvme3/nvme3n1", "259:9");
    const std::string vmd = "pci0000:3a/0000:3a:05.5/pci10000:00/10000:00:02.0/10000:01:00.0/nvme";
    controller(vmd, "nvme4", "pcie", "10000:01:00.0");
    disks.Block(vmd + "/nvme4/nvme4n1", "259:10");

    const StorageInventory storage = disks.ScanStorage();
    EXPECT_EQ(storage.devices.size(), 4U) << "paths are not devices";
    const BlockDevice& second = deviceNamed(storage, "nvme0n2");
    EXPECT_EQ(second.disk.transport, "nvme-pcie");
    EXPECT_EQ(second.disk.model + "/" + second.disk.serial + "/" + second.disk.firmware,
              "Fast NVMe/S1/F1");
    EXPECT_EQ(second.disk.eui64, "0025385b71b00f5f");
    EXPECT_EQ(second.disk.nguid, "36344630528000010025385300000001");
    EXPECT_EQ(second.disk.namespaceId, 2U);
    EXPECT_EQ(second.disk.controllers, (std::vector<std::size_t>{0, 1}));
    ASSERT_EQ(second.disk.paths.size(), 2U);
    EXPECT_EQ(storage.nvmeControllers[second.disk.paths[1].controller].name, "nvme1");
    EXPECT_EQ(second.disk.paths[1].state, "optimized");
    ASSERT_EQ(storage.controllers.size(), 4U);
    EXPECT_EQ(storage.controllers[1].slot.number, 2U);
    EXPECT_EQ(storage.controllers[3].pciAddress, "10000:01:00.0");
    EXPECT_EQ(storage.controllers[3].slot.number, unknownSlot);
    const BlockDevice& remote = deviceNamed(storage, "nvme3n1");
    EXPECT_EQ(remote.disk.transport, "nvme-fc");
    EXPECT_EQ(remote.disk.targetPort, 0x200600a098d8580eU);
    EXPECT_EQ(storage.controllers.at(remote.disk.controllers.at(0)).pciAddress, "0000:05:00.0");
    EXPECT_EQ(deviceNamed(storage, "nvme4n1").disk.controllers, std::vector<std::size_t>{3});
}

TEST(Storage, TransportsAndDisksWithoutAttributes) {
    struct Case {
        const char* path;
        const char* transport;
        const char* scsiAddress;
        const char* pciName;
    };
    const std::vector<Case> cases{
        {"pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/block/sda", "usb",
         "6:0:0:0", "0000:00:14.0"},
        {"pci0000:00/0000:00:02.0/0000:05:00.0/host7/rport-7:0-2/target7:0:0/7:0:0:1/block/sdb",
         "fc", "7:0:0:1", "0000:05:00.0"},
        {"platform/host8/session1/target8:0:0/8:0:0:0/block/sdc", "iscsi", "8:0:0:0", ""},
        {"pci0000:00/0000:00:04.0/virtio2/host2/target2:0:0/2:0:0:0/block/sdd", "virtio", "2:0:0:0",
         "0000:00:04.0"},
        {"pci0000:00/0000:00:01.1/ata1/host3/target3:0:0/3:0:0:0/block/sde", "ata", "3:0:0:0",
         "0000:00:01.1"},
        {"pci0000:00/0000:00:02.2/0000:02:00.0/host0/target0:2:0/0:2:0:0/block/sdf", "", "0:2:0:0",
         "0000:02:00.0"},
        {"pci0000:00/0000:00:05.0/virtio1/block/vda", "virtio", "", "0000:00:05.0"},
        {"pci0000:00/0000:00:1a.0/mmc_host/mmc0/mmc0:0001/block/mmcblk0", "mmc", "",
         "0000:00:1a.0"},
        {"platform/x/cciss!c0d0", "", "", ""},
    };
    CFakeDisks disks;
    disks.File("sys/class/scsi_host/host3/proc_name", "ata_piix\n");
    disks.File(
        "sys/devices/pci0000:00/0000:00:02.0/0000:05:00.0/host7/rport-7:0-2/fc_remote_ports/"
        "rport-7:0-2/port_name",
        "0x500601643ea0abcd\n");
    int minor = 0;
    for (const Case& one : cases) {
        disks.Block(one.path, "250:" + std::to_string(minor++), {"size=2"});
        disks.Remove(std::string("sys/devices/") + one.path + "/queue");
    }
    // Left out: memory disks, an unused loop device, sizes that are no number, a device that is
    // gone.
    disks.Block("virtual/block/ram0", "1:0");
    disks.Block("virtual/block/loop0", "7:0", {"size=0"});
    disks.Block("virtual/block/sdx", "8:7", {"size=99999999999999999999"});
    disks.Link("sys/class/block/sdy", "../../devices/gone/sdy");
    const StorageInventory storage = disks.ScanStorage();
    ASSERT_EQ(storage.devices.size(), cases.size());
    for (const Case& one : cases) {
        const std::string path = one.path;
        const BlockDevice& device = deviceNamed(storage, path.substr(path.rfind('/') + 1));
        EXPECT_EQ(device.disk.transport, one.transport) << path;
        EXPECT_EQ(device.disk.scsiAddress, one.scsiAddress) << path;
        EXPECT_EQ(device.disk.pciName, one.pciName) << path;
        EXPECT_EQ(device.size, 1024U);
        EXPECT_FALSE(device.rotational);
    }
    EXPECT_EQ(deviceNamed(storage, "sdb").disk.targetPort, 0x500601643ea0abcdU);
    EXPECT_EQ(deviceNamed(storage, "cciss!c0d0").path, "/dev/cciss/c0d0");
}

TEST(Storage, VolumesOfEachKindAndLoopsOfThem) {
    CFakeDisks disks;
    const auto volume = [&disks](const std::string& name, const std::string& number,
                                 const test::Texts& files, const Names& slaves) {
        disks.Block("virtual/block/" + name, number, files);
        disks.Slaves("virtual/block/" + name, slaves);
    };
    volume("dm-0", "253:0", {"dm/name=mpatha", "dm/uuid=mpath-3600"}, {"sda", "sdb", "gone"});
    volume("dm-1", "253:1", {"dm/name=mpatha1", "dm/uuid=part1-mpath-3600"}, {"dm-0"});
    volume("bcache0", "252:0",
           {"bcache/state=dirty", "bcache/cache_mode=writethrough [writeback] none"},
           {"sda", "sdb"});
    volume("loop3", "7:3", {"loop/backing_file=/srv/a.img"}, {});
    // Each is made of the other, and of itself.
    volume("md_home", "9:1", {"md/level=raid0"}, {"md2", "md_home"});
    volume("md2", "9:2", {}, {"md_home"});
    disks.Block("x/host0/target0:0:0/0:0:0:0/block/sda", "8:0");
    disks.Block("x/host1/target1:0:0/1:0:0:0/block/sdb", "8:16");
    const StorageInventory storage = disks.ScanStorage();
    const BlockDevice& multipath = deviceNamed(storage, "dm-0");
    EXPECT_EQ(multipath.type, "mpath");
    EXPECT_EQ(namesOf(storage, multipath.parents), (Names{"sda", "sdb"}));
    EXPECT_EQ(deviceNamed(storage, "dm-1").type, "part");
    const Volume& cache = deviceNamed(storage, "bcache0").volume;
    EXPECT_EQ(cache.state + "/" + cache.cacheMode, "dirty/writeback");
    EXPECT_EQ(deviceNamed(storage, "loop3").volume.backingFile, "/srv/a.img");
    EXPECT_EQ(deviceNamed(storage, "md2").type, "md");
    EXPECT_NE(storageTree({storage, {}}).find("md_home raid0"), std::string::npos);
    for (std::size_t i = 0; i < storage.devices.size(); ++i) {
        EXPECT_FALSE(isSafeToOpen(storage, i)) << storage.devices[i].name;
    }
}

TEST(Storage, WithoutUdevdOnlyDevicesThatCannotSleepAreOpened) {
    CFakeDisks disks;
    const auto disk = [&disks](char letter, test::Texts facts) {
        const std::string n(1, static_cast<char>('0' + letter - 'a'));
        facts.emplace_back(test::noRecord);
        disks.Block("x/host" + n + "/target0:0:0/0:0:0:" + n + "/block/sd" + letter, "8:" + n,
                    facts);
        disks.File(std::string("dev/sd") + letter, swapImage());
    };
    disk('a', {"queue/rotational=0", "device/model=Solid State", "device/rev=1",
               "device/wwid=naa.5000c500a1b2c3d4",
               std::string("device/vpd_pg80=\0\x80\0\x08 SERIAL1", 28)});
    disk('b', {});
    disk('c', {"queue/rotational=0", "device/state=offline"});
    disk('d', {"queue/rotational=0", "device/power/runtime_status=suspended"});
    disks.Block("x/host9/target9:0:0/9:0:0:0/block/sr0", "11:0",
                {"queue/rotational=0", test::noRecord});
    disks.File("dev/sr0", swapImage());
    disks.Block("pci0000:00/0000:00:05.0/virtio1/block/vda", "254:0",
                {"serial=virtio-serial", test::noRecord});
    disks.File("dev/vda", "not a file system");
    disks.Block("virtual/block/dm-0", "253:0",
                {"dm/suspended=1", "queue/rotational=0", test::noRecord});
    disks.Slaves("virtual/block/dm-0", {"sda"});
    disks.File("dev/dm-0", swapImage());
    disks.File("proc/swaps", "Filename\tType Size Used Priority\n/dev/sdb partition 4 0 -2\n");
    const StorageInventory storage = disks.ScanStorage();
    const BlockDevice& solidState = deviceNamed(storage, "sda");
    EXPECT_EQ(solidState.content.type, "swap");
    EXPECT_EQ(solidState.content.label, "swap 1");
    EXPECT_EQ(solidState.content.uuid, "30313233-3435-3637-3839-616263646566");
    EXPECT_EQ(solidState.disk.serial, "SERIAL1");
    EXPECT_EQ(solidState.disk.wwn, "0x5000c500a1b2c3d4");
    EXPECT_EQ(deviceNamed(storage, "sdb").content.type, "swap") << "in use";
    EXPECT_EQ(deviceNamed(storage, "sdb").content.label, "");
    for (const char* const closed : {"sdc", "sdd", "sr0", "dm-0"}) {
        EXPECT_EQ(deviceNamed(storage, closed).content.type, "") << closed;
    }
    EXPECT_EQ(deviceNamed(storage, "vda").disk.serial, "virtio-serial");
    EXPECT_TRUE(storage.unanswered.empty());
}

TEST(Storage, AQuestionWithoutAnAnswerDoesNotDisturbTheOthers) {
    const std::string big(65536, 'x');
    const auto hang = [] {
        ::pause();
        return std::string();
    };
    const std::vector<Question> questions{
        {0, [] { return "a"; }},
        {1, hang},
        {2, [] { return "c"; }},
        {1, [] { return "of the same device"; }},
        {3, []() -> std::string { ::_exit(1); }},
        {4, []() -> std::string { throw std::bad_alloc(); }},
        {5, [&big] { return big; }},
        {6, [&big] { return big + "x"; }},
        {7, [] { return std::string(std::printf("lost\n") > 0 ? "" : "x"); }},
    };
    const auto answers = CBoundedQuestions(questions, {1s, 60s}).Answers();
    const std::vector<std::optional<std::string>> expected{
        "a", std::nullopt, "c", std::nullopt, std::nullopt, std::nullopt, big, std::nullopt, ""};
    EXPECT_EQ(answers, expected);
    const auto start = std::chrono::steady_clock::now();
    std::vector<Question> hanging;
    for (std::size_t i = 0; i < 1000; ++i) {
        hanging.push_back({i, hang});
    }
    EXPECT_EQ(CBoundedQuestions(hanging, {30ms, 100ms}).Answers().size(), 1000U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

}  // namespace
}  // namespace em_pni
