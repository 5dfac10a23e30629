"""The disks of the emulated server, and what pni-host and lsblk say of them."""
import json
import subprocess

MEGABYTE = 1 << 20
LABELS = ("data", "old", "swap 1")
SERIALS = ("NVME0001", "SATA0001", "VIRTIO0001")
TABLE = """label: gpt
start=2048, size=16384, name="first part", type=linux
start=18432, size=16384, type=swap, attrs=RequiredPartition
start=34816, size=2048, type=uefi, name=empty
"""
START_UDEVD = ("systemd-udevd --daemon && udevadm trigger --subsystem-match=block --action=add "
               "&& udevadm settle")
STOP_UDEVD = ("udevadm control --exit; while pidof systemd-udevd; do sleep 0.1; done; "
              "rm -rf /run/udev /dev/disk")
USE_DISKS = ("mkdir /tmp/bind && mount -o ro /dev/sda1 /mnt && mount --bind /mnt /tmp/bind "
             "&& swapon /dev/nvme0n1p2")
LEAVE_DISKS = "swapoff /dev/nvme0n1p2 && umount /tmp/bind && umount /mnt"
# Lines with the link and the name of the device.
SHOW_LINKS = 'for i in /dev/disk/by-id/*; do echo "$i $(readlink -f "$i")"; done'
DOS_TABLE = """label: dos
start=2048, size=8192, type=83, bootable
"""


def swap_area(size):
    area = bytearray(size)
    area[1024:1032] = (1).to_bytes(4, "little") + (size // 4096 - 1).to_bytes(4, "little")
    area[1036:1052] = bytes(range(16))  # UUID
    area[1052:1058] = b"swap 1"
    area[4086:4096] = b"SWAPSPACE2"
    return area


def make_disks(folder):
    """Returns the arguments for QEMU."""
    nvme, sata = folder / "nvme", folder / "sata"
    for disk, table in ((nvme, TABLE), (sata, DOS_TABLE)):
        disk.write_bytes(bytes(32 * MEGABYTE))
        subprocess.run(["sfdisk", "--quiet", disk], input=table.encode(), check=True)
    for disk, label in zip((nvme, sata), LABELS):
        subprocess.run(["mkfs.ext4", "-q", "-F", "-L", label, "-E", f"offset={MEGABYTE}", disk, "4M"],
                       check=True, stderr=subprocess.DEVNULL)
    with open(nvme, "r+b") as file:
        file.seek(9 * MEGABYTE)
        file.write(swap_area(8 * MEGABYTE))
    return ["-drive", f"if=none,id=nvme,format=raw,file={nvme}",
            "-device", f"nvme,drive=nvme,serial={SERIALS[0]},addr=1c.0",
            "-drive", f"if=none,id=sata,format=raw,file={sata}",
            # A disk that does not rotate: without udevd only such a disk is opened.
            "-device", f"ide-hd,drive=sata,bus=ide.0,serial={SERIALS[1]},rotation_rate=1"]


def facts_of(device):
    """What pni-host says, under the names of lsblk."""
    disk, partition = device.get("Disk", {}), device.get("Partition", {})
    content, space = device["Content"], device["Space"] or {}
    facts = {"maj:min": device["DeviceNumber"], "type": device["Type"], "ro": device["ReadOnly"],
             "path": device["Path"], "pkname": next(iter(device["Parents"]), None),
             "size": device["Size"], "fstype": content["Type"], "fsver": content["Version"],
             "label": content["Label"], "uuid": content["UUID"],
             "fssize": space.get("Size"), "fsused": space.get("Used"),
             "fsavail": space.get("Available"),
             "mountpoints": [mount["Target"] for mount in device["Mounts"]]
             + ["[SWAP]" for _ in device["Swaps"]],
             "fsroots": [mount["Root"] for mount in device["Mounts"]]}
    if partition:
        facts |= {"start": partition["Start"] // 512, "parttype": partition["Type"],
                  "partuuid": partition["UUID"], "partlabel": partition["Label"],
                  "partflags": partition["Flags"], "pttype": partition["Scheme"]}
    else:
        facts |= {"rota": device["Rotational"], "log-sec": device["LogicalBlockSize"],
                  "phy-sec": device["PhysicalBlockSize"], "rm": disk.get("Removable"),
                  "vendor": disk.get("Vendor"), "model": disk.get("Model"),
                  "serial": disk.get("SerialNumber"), "rev": disk.get("FirmwareVersion"),
                  "wwn": disk.get("WWN"),
                  "hctl": disk.get("ScsiAddress"), "tran": (disk.get("Transport") or "").split("-")[0],
                  "pttype": content["PartitionTable"], "ptuuid": content["PartitionTableUUID"]}
    return facts


def differences(ours, theirs, links):
    """Lines about each fact that lsblk knows and pni-host says otherwise, and about devices and
    links that only one of them has. `links` is empty without udevd."""
    known = {device["Name"]: device for device in json.loads(ours)["Devices"]}
    lines, waiting, seen = [], json.loads(theirs)["blockdevices"], set()
    while waiting:
        shown = waiting.pop()
        waiting += shown.get("children", [])
        name = shown["kname"]
        seen.add(name)
        if name not in known:
            lines.append(f"{name} is missing")
            continue
        for key, value in facts_of(known[name]).items():
            expected = shown[key]
            if isinstance(expected, list):
                expected, value = sorted(filter(None, expected)), sorted(value)
            elif isinstance(expected, str):
                expected = " ".join(expected.split())  # fixed fields end with blanks
            if expected not in (None, value):
                lines.append(f"{name} {key}: {value}, lsblk says {expected}")
    labels = [device["Content"]["Label"] for device in known.values()]
    lines += [f"no device has the label {label}" for label in LABELS if label not in labels]
    lines += [f"no link has {serial}" for serial in SERIALS if links and serial not in links]
    by_id = {tuple(line.split()) for line in links.splitlines()}
    shown = {(link, device["Path"]) for device in known.values() for link in device["Links"]}
    lines += [f"only in /dev or only in the JSON: {link}" for link in sorted(by_id ^ shown)]
    return lines + [f"lsblk has no {name}" for name in known if name not in seen]
