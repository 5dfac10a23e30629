// A made-up server with disks of many kinds.
#pragma once

#include "tests/storage_fake_disks.h"

namespace em_pni::test {

inline constexpr const char* hba = "pci0000:80/0000:80:01.0/0000:81:00.0";
inline constexpr const char* ahci = "pci0000:00/0000:00:17.0";

// A SATA disk and a drive, a shelf behind an expander, an array with LVM, and an encrypted root.
inline void buildServer(CFakeDisks& disks) {
    disks.Pci(ahci, 0x8086, 0xA282, 0x0106, "ahci");
    disks.Bridge("pci0000:80/0000:80:01.0");
    disks.Pci(hba, 0x1000, 0x0097, 0x0107, "mpt3sas");
    disks.Smbios(smbiosSlot(4, {0, 0x81, 0, 0}, {.designation = "PCIe Slot 4"}));
    disks.File("sys/class/scsi_host/host0/proc_name", "ahci\n");
    const std::string sata = std::string(ahci) + "/ata1/host0/target0:0:0/0:0:0:0/block/sda";
    disks.Block(
        sata, "8:0",
        {"size=1000215216", "queue/rotational=0", "device/vendor=ATA     ", "device/type=0",
         "device/model=Samsung SSD 860 ", "device/rev=4B6Q", "device/state=running", "ID_BUS=ata",
         "ID_MODEL=Samsung_SSD_860_EVO_512GB", "ID_REVISION=RVT04B6Q", "ID_SERIAL_SHORT=S4BENG0K",
         "ID_MODEL_ENC=Samsung\\x20SSD\\x20860\\x20EVO\\x20512GB\\x20", "ID_PART_TABLE_TYPE=gpt",
         "ID_PART_TABLE_UUID=5d4a", "ID_WWN=0x5002538e40a1b2c3",
         "S:disk/by-path/pci-0000:00:17.0-ata-1", "S:disk/by-id/wwn-0x5002538e40a1b2c3",
         "S:disk/by-id/ata-Samsung_SSD_860_EVO_512GB_S4BENG0K"});
    disks.Block(
        sata + "/sda1", "8:1",
        {"partition=1", "size=1048576", "start=2048", "ID_FS_TYPE=vfat", "ID_FS_USAGE=filesystem",
         "ID_FS_UUID=1A2B-3C4D", "ID_FS_UUID_ENC=1A2B-3C4D", "ID_FS_LABEL=EFI_1",
         "ID_FS_LABEL_ENC=EFI\\x201", "ID_PART_ENTRY_SCHEME=gpt",
         "ID_PART_ENTRY_TYPE=c12a7328-f81f-11d2-ba4b-00a0c93ec93b", "ID_PART_ENTRY_UUID=0a1b",
         "ID_PART_ENTRY_NAME=EFI\\x20System", "ID_PART_ENTRY_FLAGS=0x1"});
    disks.Block(sata + "/sda2", "8:2",
                {"partition=2", "start=1050624", "ID_FS_TYPE=crypto_LUKS", "ID_FS_USAGE=crypto"});
    disks.Block(
        "virtual/block/dm-0", "253:0",
        {"dm/name=root", "dm/uuid=CRYPT-LUKS2-0a1b2c-root", "dm/suspended=0", "queue/rotational=0",
         "ID_FS_TYPE=ext4", "ID_FS_UUID_ENC=77aa", "S:mapper/root", "S:disk/by-uuid/77aa"});
    disks.Slaves("virtual/block/dm-0", {"sda2"});
    disks.Block(std::string(ahci) + "/ata2/host0/target0:0:1/0:0:1:0/block/sr0", "11:0",
                {"size=2097151", "removable=1", "device/vendor=TSSTcorp", "device/model=DVD",
                 "device/type=5", "ID_CDROM=1"});
    for (const std::string n : {"0", "1"}) {
        disks.Block(std::string(hba) + "/host1/port-1:0/expander-1:0/port-1:0:" + n +
                        "/end_device-1:0:" + n + "/target1:0:" + n + "/1:0:" + n + ":0/block/sd" +
                        (n == "0" ? "b" : "c"),
                    "8:1" + n,
                    {"device/vendor=SEAGATE ", "device/model=ST4000NM0025    ", "device/type=0",
                     "ID_FS_TYPE=linux_raid_member", "ID_FS_USAGE=raid"});
    }
    disks.Block("virtual/block/md0", "9:0",
                {"md/level=raid1", "md/array_state=clean", "md/raid_disks=2", "md/degraded=1",
                 "md/dev-sdb/slot=0", "md/dev-sdb/state=in_sync", "md/dev-sdc/slot=none",
                 "md/dev-sdc/state=faulty", "ID_FS_TYPE=LVM2_member"});
    disks.Slaves("virtual/block/md0", {"sdb", "sdc"});
    disks.Block("virtual/block/dm-1", "253:1",
                {"dm/name=vg--data-srv--1", "dm/uuid=LVM-abcdef", "ID_FS_TYPE=xfs",
                 "ID_FS_USAGE=filesystem", "S:mapper/vg--data-srv--1", "S:vg-data/srv-1"});
    disks.Slaves("virtual/block/dm-1", {"md0"});
    disks.Block(
        "virtual/block/dm-2", "253:2",
        {"dm/name=vg--data-swap", "dm/uuid=LVM-x", "ID_FS_TYPE=swap", "S:mapper/vg--data-swap"});
    disks.Slaves("virtual/block/dm-2", {"md0"});
    disks.File("proc/self/mountinfo",
               "21 1 253:0 / / rw,relatime shared:1 - ext4 /dev/mapper/root rw,errors=remount-ro\n"
               "bad line\n"
               "22 21 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
               "23 21 253:1 / /srv rw - xfs /dev/mapper/vg--data-srv--1 rw\n"
               "24 21 253:1 /home /home rw - xfs /dev/mapper/vg--data-srv--1 rw\n"
               "25 21 253:1 / /mnt/a\\040b ro - xfs /dev/mapper/vg--data-srv--1 rw\n"
               "26 21 0:50 / /net rw - nfs4 192.0.2.1:/x rw\n"
               "27 21 0:51 / /srv rw - tmpfs tmpfs rw\n");
    disks.File("proc/swaps",
               "Filename\tType Size Used Priority\n"
               "/dev/dm-2 partition 2048 1024 -2\n/swapfile file 4 0 5\n");
}

}  // namespace em_pni::test
