"""The disks of the emulated server, and what pni-host and lsblk say of them."""
import json
import subprocess

MEGABYTE = 1 << 20
LABELS = ("data", "old", "swap 1")
TABLE = """label: gpt
start=2048, size=16384, name="first part", type=linux
start=18432, size=16384, type=swap, attrs=RequiredPartition
"""
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
            "-device", "nvme,drive=nvme,serial=NVME0001,addr=1c.0",
            "-drive", f"if=none,id=sata,format=raw,file={sata}",
            # A disk that does not rotate: without udevd only such a disk is opened.
            "-device", "ide-hd,drive=sata,bus=ide.0,serial=SATA0001,rotation_rate=1"]


def facts_of(device):
    """What pni-host says, under the names of lsblk."""
    disk, partition = device.get("Disk", {}), device.get("Partition", {})
    facts = {"maj:min": device["DeviceNumber"], "type": device["Type"], "ro": device["ReadOnly"],
             "size": device["Size"], "fstype": device["Content"]["Type"],
             "label": device["Content"]["Label"], "uuid": device["Content"]["UUID"],
             "mountpoints": [mount["Target"] for mount in device["Mounts"]]}
    if partition:
        facts |= {"start": partition["Start"] // 512, "parttype": partition["Type"],
                  "partuuid": partition["UUID"], "partlabel": partition["Label"]}
    else:
        facts |= {"rota": device["Rotational"], "log-sec": device["LogicalBlockSize"],
                  "phy-sec": device["PhysicalBlockSize"], "rm": disk.get("Removable"),
                  "model": disk.get("Model"), "serial": disk.get("SerialNumber"),
                  "hctl": disk.get("ScsiAddress"), "tran": (disk.get("Transport") or "").split("-")[0],
                  "pttype": device["Content"]["PartitionTable"]}
    return facts


def differences(ours, theirs):
    """Lines about each fact that lsblk knows and pni-host says otherwise, and about devices that
    only one of them has."""
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
            if key == "mountpoints":
                expected = [target for target in expected if target]
            elif isinstance(expected, str):
                expected = " ".join(expected.split())  # fixed fields end with blanks
            if expected not in (None, value):
                lines.append(f"{name} {key}: {value}, lsblk says {expected}")
    labels = [device["Content"]["Label"] for device in known.values()]
    lines += [f"no device has the label {label}" for label in LABELS if label not in labels]
    return lines + [f"lsblk has no {name}" for name in known if name not in seen]
