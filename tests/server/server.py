"""An emulated server: QEMU's q35 machine with a management controller behind a KCS interface."""
import base64
import json
import re
import socket
import subprocess
from typing import NamedTuple

FRU_SIZE = 2048
ANSWER_TIME = 60  # seconds, until a command has ended or the server is up
TIME_LIMIT = 600  # seconds, of one boot


class ServerError(Exception):
    pass


class Slot(NamedTuple):
    """A PCI Express slot behind its own root port."""
    number: int
    port: str         # device and function of the root port on bus 0: "08.1"
    kernel: int       # the slot number that the kernel reads from the port
    smbios: str = ""  # the address of its SMBIOS structure: "bus:dd.f"; empty = it has none


class Lines:
    """Sends and receives lines through a socket."""

    def __init__(self, connection):
        self.connection = connection
        self.connection.settimeout(ANSWER_TIME)
        self.stream = connection.makefile("rb")

    def send(self, line):
        self.connection.sendall(line.encode() + b"\n")

    def receive(self):
        line = self.stream.readline()
        if not line:
            raise ServerError("the server is off")
        return line.decode().rstrip("\n")


class FruWrites:
    """The write commands that reached the controller, from QEMU's trace of the KCS registers."""
    REGISTER_WRITE = re.compile(r"addr 0x([0-9a-f]+) value 0x([0-9a-f]+) .*'ipmi-kcs'")
    WRITE_START, WRITE_END = 0x61, 0x62  # in the command register
    WRITE_FRU = (0x0A << 2, 0x12)        # network function and command

    def __init__(self, trace):
        self.trace = open(trace, "r", encoding="ascii", errors="replace")
        self.line = ""
        self.message = None
        self.is_last_byte = False
        self.commands = []  # (offset, bytes)

    def update(self):
        for line in self.trace:
            self.line += line
            if self.line.endswith("\n"):
                if found := self.REGISTER_WRITE.search(self.line):
                    self.take(int(found[1], 16), int(found[2], 16))
                self.line = ""
        return self.commands

    def take(self, register, value):
        if register % 2:  # the command register
            if value == self.WRITE_START:
                self.message, self.is_last_byte = [], False
            elif value == self.WRITE_END:
                self.is_last_byte = True
            else:
                self.message = None
        elif self.message is not None:
            self.message.append(value)
            if self.is_last_byte:
                self.finish(self.message)
                self.message = None

    def finish(self, message):
        if tuple(message[:2]) == self.WRITE_FRU:
            self.commands.append((message[3] + message[4] * 256, bytes(message[5:])))


def smbios_slot(slot, in_use):
    bus, device, function = re.fullmatch(r"(..):(..)\.(.)", slot.smbios).groups()
    usage = 4 if in_use else 3
    return (bytes([9, 17, slot.number, 9, 1, 0xB5, 11, usage, 3, slot.number, 0, 0x0C, 3, 0, 0,
                   int(bus, 16), int(device, 16) << 3 | int(function)])
            + f"PCIe Slot {slot.number}".encode() + b"\0\0")


class Server:
    """Booting after construction. `onboard`: MAC addresses; `cards`: MAC addresses of the ports of
    the card in each slot."""

    def __init__(self, folder, guest, disk, fru, slots, onboard, cards):
        self.folder = folder
        self.slots = {slot.number: slot for slot in slots}
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "fru").write_bytes(fru)
        self.first_fru = fru
        self.leaving = set()  # names of devices that are being pulled
        trace = folder / "trace"
        trace.write_bytes(b"")
        ports, far_ends = zip(*(socket.socketpair() for _ in range(2)))
        arguments = [
            # With two processors, timers of the second one get lost now and then without KVM.
            "timeout", str(TIME_LIMIT),
            "qemu-system-x86_64", "-machine", "q35", "-accel", "tcg", "-m", "256",
            "-smp", "1", "-nodefaults", "-display", "none", "-no-reboot",
            "-kernel", guest / "kernel/vmlinuz", "-initrd", guest / "initramfs",
            "-append", "console=ttyS0 panic=-1 mitigations=off nokaslr tsc=reliable "
                       "random.trust_cpu=on",
            "-chardev", f"file,id=console,path={folder / 'console'}", "-serial", "chardev:console",
            "-chardev", f"socket,id=monitor,fd={far_ends[0].fileno()}",
            "-mon", "chardev=monitor,mode=control",
            "-chardev", f"socket,id=shell,fd={far_ends[1].fileno()}",
            "-device", "virtio-serial-pci,addr=1e.0", "-device", "virtserialport,chardev=shell",
            "-drive", f"if=none,id=disk,format=raw,file={disk}",
            "-device", "virtio-blk-pci,drive=disk,addr=1d.0",
            "-device", f"ipmi-bmc-sim,id=bmc,fruareasize={FRU_SIZE},frudatafile={folder / 'fru'}",
            "-device", "isa-ipmi-kcs,bmc=bmc",
            "-trace", "memory_region_ops_write", "-D", trace,
            # The kernel itself, not ACPI, plugs the cards, as on real servers.
            "-global", "ICH9-LPC.acpi-pci-hotplug-with-bridge-support=off"]
        for index, mac in enumerate(onboard):
            arguments += ["-device", f"e1000,id=lan{index},mac={mac},addr={index + 2:x}.0,"
                                     "romfile=",
                          "-smbios", f"type=41,kind=ethernet,instance={index + 1},"
                                     f"designation=Onboard LAN {index + 1},pcidev=lan{index}"]
        for slot in slots:
            arguments += ["-device", f"pcie-root-port,id=slot{slot.number},slot={slot.kernel},"
                                     f"chassis=1,addr={slot.port},multifunction=on"]
            if slot.smbios:
                table = folder / f"smbios-slot{slot.number}"
                table.write_bytes(smbios_slot(slot, slot.number in cards))
                arguments += ["-smbios", f"file={table}"]
        for number, macs in cards.items():
            for device in self.functions(number, macs):
                arguments += ["-device", ",".join(f"{key}={value}" for key, value in device.items())]
        self.process = subprocess.Popen(
            arguments, stdin=subprocess.DEVNULL, stderr=open(folder / "qemu-errors", "w"),
            pass_fds=[end.fileno() for end in far_ends])
        for end in far_ends:
            end.close()
        self.monitor_lines, self.shell = map(Lines, ports)
        self.fru_writes = FruWrites(trace)

    def wait_until_up(self):
        self.monitor_lines.receive()  # the greeting
        self.monitor("qmp_capabilities")
        if self.shell.receive() != "ready":
            raise ServerError("the server does not start")

    @staticmethod
    def functions(number, macs):
        return [{"driver": "e1000e", "id": f"card{number}.{index}", "mac": mac, "romfile": "",
                 "bus": f"slot{number}", "addr": f"0.{index}",
                 "multifunction": "on" if len(macs) > 1 else "off"}
                for index, mac in enumerate(macs)]

    def monitor(self, command, **arguments):
        self.monitor_lines.send(json.dumps({"execute": command, "arguments": arguments}))
        while True:
            answer = self.monitor_answer()
            if "error" in answer:
                raise ServerError(f"{command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]

    def monitor_answer(self):
        """The next answer or event."""
        answer = json.loads(self.monitor_lines.receive())
        if answer.get("event") == "DEVICE_DELETED":
            self.leaving.discard(answer["data"].get("device"))
        return answer

    def try_run(self, command):
        """Returns the exit code and the output of a shell command of one line."""
        self.shell.send(command)
        status, _, output = self.shell.receive().partition(" ")
        return int(status), base64.b64decode(output)

    def run(self, command):
        status, output = self.try_run(command)
        if status != 0:
            raise ServerError(f"{command}: exit code {status}\n{output.decode(errors='replace')}")
        return output.decode(errors="replace")

    def read_file(self, path):
        return base64.b64decode(self.run(f"base64 -w 0 {path}"))

    def write_file(self, path, content):
        self.run(f"echo {base64.b64encode(content).decode()} | base64 -d >{path}")

    def plug(self, number, macs):
        """Waits until the cards that were pulled are out."""
        while self.leaving:
            self.monitor_answer()
        # The kernel looks for the card when function 0 comes.
        for device in reversed(self.functions(number, macs)):
            self.monitor("device_add", **device)

    def pull(self, number, functions):
        """Presses the attention button of the slot; the kernel waits five seconds."""
        self.leaving.update(f"card{number}.{index}" for index in range(functions))
        self.monitor("device_del", id=f"card{number}.0")

    def set_link(self, device, up):
        self.monitor("set_link", name=device, up=up)

    def fru_commands(self):
        """The write commands so far: (offset, bytes)."""
        return self.fru_writes.update()

    def fru(self):
        """The FRU data as the write commands have left them."""
        image = bytearray(self.first_fru)
        for offset, data in self.fru_commands():
            image[offset:offset + len(data)] = data
        return bytes(image)

    def shut_down(self):
        self.run("sync && umount /var")
        self.cut_power()

    def cut_power(self):
        """Nothing that the kernel has not written to the disk is kept."""
        self.process.terminate()
        self.process.wait()
