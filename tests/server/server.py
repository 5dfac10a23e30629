"""An emulated server: QEMU's q35 machine with a management controller behind a KCS interface."""
import base64
import json
import re
import socket
import subprocess
from typing import NamedTuple

from kcs_trace import KcsTrace

FRU_SIZE = 2048    # bytes
ANSWER_TIME = 90   # seconds, until a command has ended or the server is up
TIME_LIMIT = 300   # seconds, of one boot


class ServerError(Exception):
    pass


class Slot(NamedTuple):
    """A PCI Express slot behind its own root port."""
    number: int
    port: str           # device and function of the root port on bus 0: "08.1"
    kernel_number: int  # that the kernel reads from the port
    smbios: str = ""    # the address in its SMBIOS structure: "bus:dd.f"; empty = it has none


class LineSocket:
    """Sends and receives lines."""

    def __init__(self):
        self.near, self.far = socket.socketpair()
        self.near.settimeout(ANSWER_TIME)
        self.stream = self.near.makefile("rb")

    def send(self, line):
        self.near.sendall(line.encode() + b"\n")

    def receive(self):
        try:
            line = self.stream.readline()
        except TimeoutError:
            raise ServerError(f"no answer within {ANSWER_TIME} s") from None
        if not line:
            raise ServerError("the server is off")
        return line.decode()


def smbios_slot(slot, in_use):
    """The SMBIOS structure of type 9."""
    bus, device, function = re.fullmatch(r"(..):(..)\.(.)", slot.smbios).groups()
    head = [9, 17, slot.number, 9]            # type, length, handle
    kind = [1, 0xB5, 11, 4 if in_use else 3]  # designation, PCI Express 3 x8, usage
    place = [0, 0, int(bus, 16), int(device, 16) << 3 | int(function)]
    return (bytes([*head, *kind, 3, slot.number, 0, 0x0C, 3, *place])
            + f"PCIe Slot {slot.number}\0\0".encode())


def functions_of(number, macs):
    """QEMU's devices for a card with a function for each MAC address."""
    return [{"driver": "e1000e", "id": f"card{number}.{index}", "mac": mac, "romfile": "",
             "bus": f"slot{number}", "addr": f"0.{index}",
             "multifunction": "on" if len(macs) > 1 else "off"} for index, mac in enumerate(macs)]


class Server:
    """`guest` is the folder of make-guest. `onboard` has the MAC addresses of the onboard cards,
    `cards` those of the ports of the card in each slot in use. `disks` has arguments for more
    disks."""

    def __init__(self, folder, guest, disk, fru, slots, onboard, cards, disks):
        folder.mkdir(parents=True, exist_ok=True)
        self.first_fru = fru
        (folder / "fru").write_bytes(fru)
        (folder / "trace").write_bytes(b"")
        self.trace = KcsTrace(folder / "trace")
        self.monitor_socket, self.shell = LineSocket(), LineSocket()
        self.leaving = set()  # names of devices that are being pulled
        far_ends = (self.monitor_socket.far, self.shell.far)
        arguments = [
            "timeout", str(TIME_LIMIT), "qemu-system-x86_64",
            # One processor: without KVM the timers of a second one stop now and then.
            "-machine", "q35", "-accel", "tcg", "-smp", "1", "-m", "256",
            "-nodefaults", "-display", "none", "-no-reboot",
            "-kernel", guest / "kernel/vmlinuz", "-initrd", guest / "initramfs",
            "-append", "console=ttyS0 panic=-1 tsc=reliable random.trust_cpu=on",
            "-serial", f"file:{folder / 'console'}",
            "-chardev", f"socket,id=monitor,fd={far_ends[0].fileno()}",
            "-mon", "chardev=monitor,mode=control",
            "-chardev", f"socket,id=shell,fd={far_ends[1].fileno()}",
            "-device", "virtio-serial-pci,addr=1e.0", "-device", "virtserialport,chardev=shell",
            "-drive", f"if=none,id=disk,format=raw,file={disk}",
            "-device", "virtio-blk-pci,drive=disk,serial=VIRTIO0001,addr=1d.0",
            "-device", f"ipmi-bmc-sim,id=bmc,fruareasize={FRU_SIZE},frudatafile={folder / 'fru'}",
            "-device", "isa-ipmi-kcs,bmc=bmc",
            "-trace", "memory_region_ops_write", "-D", folder / "trace",
            # The kernel plugs the cards, not ACPI, as on real servers.
            "-global", "ICH9-LPC.acpi-pci-hotplug-with-bridge-support=off", *disks]
        for index, mac in enumerate(onboard):
            # e1000e does not tell the kernel when its link goes down.
            arguments += ["-device", f"e1000,id=lan{index},mac={mac},addr={index + 2:x}.0,romfile=",
                          "-smbios", f"type=41,kind=ethernet,instance={index + 1},"
                                     f"designation=Onboard LAN {index + 1},pcidev=lan{index}"]
        for slot in slots:
            arguments += ["-device", f"pcie-root-port,id=slot{slot.number},chassis=1,"
                                     f"slot={slot.kernel_number},addr={slot.port},multifunction=on"]
            if slot.smbios:
                table = folder / f"smbios{slot.number}"
                table.write_bytes(smbios_slot(slot, slot.number in cards))
                arguments += ["-smbios", f"file={table}"]
        for number, macs in cards.items():
            for function in functions_of(number, macs):
                arguments += ["-device", ",".join(f"{key}={value}"
                                                  for key, value in function.items())]
        with open(folder / "errors", "wb") as errors:
            self.process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stderr=errors,
                                            pass_fds=[end.fileno() for end in far_ends])
        for end in far_ends:
            end.close()

    def wait_until_up(self):
        self.monitor_socket.receive()  # the greeting
        self.monitor("qmp_capabilities")
        if self.shell.receive() != "ready\n":
            raise ServerError("the first program of the server has failed")

    # The monitor of QEMU.

    def monitor(self, command, **arguments):
        self.monitor_socket.send(json.dumps({"execute": command, "arguments": arguments}))
        while "return" not in (answer := self.next_answer()):
            if "error" in answer:
                raise ServerError(f"{command}: {answer['error']['desc']}")

    def next_answer(self):
        """The next answer or event."""
        answer = json.loads(self.monitor_socket.receive())
        if answer.get("event") == "DEVICE_DELETED":
            self.leaving.discard(answer["data"].get("device"))
        return answer

    def plug(self, number, macs):
        while self.leaving:  # the slot may still have its last card
            self.next_answer()
        for function in reversed(functions_of(number, macs)):  # the last one makes the card appear
            self.monitor("device_add", **function)

    def pull(self, number, functions):
        """Presses the attention button of the slot. The kernel removes the card after 5 seconds."""
        self.leaving.update(f"card{number}.{index}" for index in range(functions))
        self.monitor("device_del", id=f"card{number}.0")

    def set_link(self, device, up):
        self.monitor("set_link", name=device, up=up)

    # Commands in the server.

    def try_run(self, command):
        """Runs a shell command of one line. Returns its exit code and its output as text."""
        self.shell.send(command)
        status, output = self.shell.receive().split(" ")
        return int(status), base64.b64decode(output).decode(errors="replace")

    def run(self, command):
        status, output = self.try_run(command)
        if status != 0:
            raise ServerError(f"{command}: exit code {status}\n{output}")
        return output

    def read_file(self, path):
        return base64.b64decode(self.run(f"base64 -w 0 {path}"))

    def write_file(self, path, content):
        self.run(f"echo {base64.b64encode(content).decode()} | base64 -d >{path}")

    # The controller.

    def fru_writes(self):
        """The write commands since the power is on: (offset, bytes)."""
        return self.trace.fru_writes()

    def fru(self):
        """The FRU data as the write commands have left them."""
        image = bytearray(self.first_fru)
        for offset, data in self.fru_writes():
            image[offset:offset + len(data)] = data
        return bytes(image)

    # The power.

    def shut_down(self):
        self.run("umount /var")
        self.cut_power()

    def cut_power(self):
        """The disk keeps only what the kernel has written to it."""
        self.process.terminate()
        self.process.wait()
