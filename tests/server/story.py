#!/usr/bin/env python3
"""The story of a server from its first record to the exchange of a card: the shipped program and
module run in an emulated server. After each step ipmitool reads the FRU data, and the decoder of the
test compares the record with what the server has.
usage: story.py FOLDER   the folder of make-guest; the logs go there as well"""
import pathlib
import subprocess
import sys
import time

import fru
from fru import Function, Module
from server import FRU_SIZE, Server, ServerError, Slot

# The first two name a place as real firmware does: the card itself or the port above it. The free
# slot names its port. Slot 6 has no SMBIOS structure: there the kernel's number counts. The ports
# 08.0 to 08.2 are siblings: the kernel's slots 13 to 15 do not tell them apart.
SLOTS = [Slot(3, "08.0", 13, "01:00.0"), Slot(4, "08.1", 14, "00:08.1"),
         Slot(5, "08.2", 15, "00:08.2"), Slot(6, "09.0", 6)]
PROGRAM = "/opt/em_pni/pni-host"
DEVICE = "/dev/ipmi0"
PATIENCE = 40  # seconds, for an event to reach the controller


def mac(slot, port):
    return f"02-00-00-00-{slot:02x}-{port:02x}"


def card(slot, bus, addresses, first_port=1):
    """The module of a card; `addresses` has a tuple for each of its ports."""
    return Module(slot, "card", tuple(
        (Function(f"0000:{bus:02x}:00.{index}", mac(slot, first_port + index), tuple(ips)),)
        for index, ips in enumerate(addresses)))


def onboard(index, *ips):
    return Module(0, "onboard", ((Function(f"0000:00:{index + 2:02x}.0", mac(0, index), ips),),))


def macs(slot, count, first_port=1):
    return [mac(slot, first_port + index).replace("-", ":") for index in range(count)]


class StepFailed(Exception):
    pass


class Story:
    def __init__(self, folder):
        self.folder = folder
        self.disk = folder / "disk"
        self.disk.write_bytes(b"")
        subprocess.run(["truncate", "-s", "16M", self.disk], check=True)
        subprocess.run(["mkfs.ext4", "-q", "-F", self.disk], check=True)
        self.server = None
        self.boots = 0
        self.commands = 0  # write commands before the step
        self.service_log = ""
        self.pid = 0

    # The machine.

    def boot(self, image, cards):
        self.boots += 1
        begin = time.monotonic()
        self.server = Server(self.folder / f"boot{self.boots}", self.folder, self.disk, image, SLOTS,
                             macs(0, 2, 0), cards)
        self.server.wait_until_up()
        self.commands = 0
        self.neighbours = fru.neighbours(image)
        run = self.server.run
        run("for interface in /sys/class/net/eth*; do ip link set ${interface##*/} up; done")
        self.wait("the links are up",
                  lambda: "0" not in run("cat /sys/class/net/eth*/carrier").split())
        self.ok(f"boot {self.boots} in {time.monotonic() - begin:.0f} s")

    def interface(self, address):
        return self.server.run(f"grep -l {address.replace('-', ':')} /sys/class/net/eth*/address"
                               ).split("/")[4]

    def address(self, change, ip, interface):
        self.server.run(f"ip addr {change} {ip} dev {interface}")

    # The program.

    def pni_host(self, arguments, code=0):
        status, output = self.server.try_run(f"{PROGRAM} {arguments}")
        if status != code:
            raise StepFailed(f"pni-host {arguments}: exit code {status}, not {code}\n"
                             + output.decode(errors="replace"))
        return output.decode(errors="replace")

    def start_service(self, before=""):
        """Starts `pni-host run`; `before` goes before the program."""
        self.service_log = f"/var/log/service{self.boots}-{time.monotonic_ns()}"
        self.server.run(
            f"cd / && mkdir -p {self.service_log} && "
            f"export QL_LOG_DEBUG_LEVEL=3 QL_LOG_FILE_DIR={self.service_log} && "
            f"(setsid {before} {PROGRAM} run --fru {DEVICE} >{self.service_log}/output 2>&1; "
            f"echo $? >{self.service_log}/status) &")

    def service_output(self):
        return self.server.run(f"cat {self.service_log}/output")

    def cycles_without_write(self):
        return int(self.server.run(
            f"grep -cs 'PNI FRU record not modified' {self.service_log}/log.EM_PNI || true") or 0)

    def end_service(self):
        self.server.run("kill -TERM $(pidof pni-host)")
        self.wait_for_end(0)
        if "stopped" not in self.service_output().splitlines():
            raise StepFailed("the service does not say that it has stopped")

    def wait_for_end(self, code):
        self.wait("the service has ended",
                  lambda: self.server.try_run(f"cat {self.service_log}/status")[0] == 0)
        status = int(self.server.run(f"cat {self.service_log}/status"))
        if status != code:
            raise StepFailed(f"the service has ended with {status}, not {code}\n"
                             + self.service_output())

    # The checks.

    def wait(self, what, condition):
        end = time.monotonic() + PATIENCE
        while not condition():
            if time.monotonic() > end:
                raise StepFailed(f"waited {PATIENCE} s in vain: {what}")
            time.sleep(0.1)

    def read_controller(self):
        """What ipmitool reads; it must be what the write commands have made."""
        self.server.run("ipmitool fru read 0 /tmp/fru")
        image = self.server.read_file("/tmp/fru")
        if image != self.server.fru():
            raise StepFailed("ipmitool does not read what was written:\n"
                             + fru.differences(self.server.fru(), image))
        now = fru.neighbours(image)
        for name, area in self.neighbours.items():
            if now[name] != area:
                raise StepFailed(f"the {name} area has changed")
        return image

    def becomes(self, modules, image=None):
        """Waits until the record has these modules, and the image these bytes if they are given."""
        def is_there():
            now = self.server.fru()
            try:
                return fru.modules(now) == modules and image in (None, now)
            except fru.BadImage:
                return False
        try:
            self.wait("the record", is_there)
        except StepFailed as failure:
            now = self.read_controller()
            if image not in (None, now):
                raise StepFailed(f"{failure}\n{fru.differences(image, now)}") from None
            lines = ["expected:", *map(str, modules), "found:"]
            try:
                lines += map(str, fru.modules(now))
            except fru.BadImage as fault:
                lines.append(f"no valid record: {fault}")
            raise StepFailed("\n".join([str(failure), *lines])) from None
        found = self.read_controller()
        if fru.modules(found) != modules:
            raise StepFailed("the record has changed again")
        return found

    def ok(self, step):
        """Prints the step and the number of write commands since the last one."""
        commands = self.server.fru_commands()
        print(f"ok: {step} ({len(commands) - self.commands} write commands)", flush=True)
        self.commands = len(commands)

    def require_no_write(self):
        commands = self.server.fru_commands()[self.commands:]
        if commands:
            raise StepFailed(f"{len(commands)} write commands, the first at byte {commands[0][0]}")

    # The story.

    def tell(self):
        lan, other_lan = (onboard(0, "192.0.2.10"), onboard(1))
        two_ports, one_port = card(3, 1, [["198.51.100.1", "2001:db8::1"], []]), card(4, 2, [[]])
        modules = (lan, other_lan, two_ports, one_port)
        empty = fru.empty_image(FRU_SIZE)
        self.boot(empty, {3: macs(3, 2), 4: macs(4, 1)})
        eth0, port = self.interface(mac(0, 0)), self.interface(mac(3, 1))
        self.address("add", "192.0.2.10/24", eth0)
        self.address("add", "198.51.100.1/24", port)
        self.address("add", "2001:db8::1/64", port)
        if self.read_controller() != empty:
            raise StepFailed("the controller has lost its data")

        self.pni_host(f"create /tmp/created --size {FRU_SIZE - 256}")
        wanted = fru.with_neighbours(self.server.read_file("/tmp/created"), FRU_SIZE)
        self.server.write_file("/tmp/wanted", wanted)
        self.pni_host(f"restore /tmp/wanted {DEVICE} --force")
        first = self.becomes(modules, wanted)
        self.pni_host(f"check {DEVICE}")
        self.pni_host(f"diff {DEVICE}")
        self.pni_host(f"backup {DEVICE} /tmp/backup")
        if self.server.read_file("/tmp/backup") != wanted:
            raise StepFailed("the backup differs from the restored image")
        self.ok("create a record, restore it onto the controller, back it up")

        self.start_service()
        self.wait("a cycle has ended", self.cycles_without_write)
        self.require_no_write()
        self.ok("a start writes nothing")

        self.address("add", "203.0.113.5/24", eth0)
        self.address("del", "192.0.2.10/24", eth0)
        self.becomes((onboard(0, "203.0.113.5"), other_lan, two_ports, one_port))
        self.ok("another address")
        self.address("del", "203.0.113.5/24", eth0)
        self.becomes((onboard(0), other_lan, two_ports, one_port))
        self.ok("address removed")
        self.address("add", "192.0.2.10/24", eth0)
        self.becomes(modules, first)
        self.ok("address added: the bytes of before")
        self.server.set_link("lan0", False)
        self.becomes((onboard(0), other_lan, two_ports, one_port))
        self.ok("link down")
        self.server.set_link("lan0", True)
        self.becomes(modules, first)
        self.ok("link up: the bytes of before")

        self.server.plug(5, macs(5, 2))
        self.becomes(modules + (card(5, 3, [[], []]),))
        self.ok("a card in slot 5")
        new_port = self.interface(mac(5, 2))
        self.server.run(f"ip link set {new_port} up")
        self.address("add", "198.51.100.52/24", new_port)
        self.becomes(modules + (card(5, 3, [[], ["198.51.100.52"]]),))
        self.ok("its address")
        self.server.pull(5, 2)
        self.becomes(modules, first)
        self.ok("its removal: the bytes of before")
        self.server.plug(5, macs(5, 1))
        self.server.plug(6, macs(6, 2))
        self.becomes(modules + (card(5, 3, [[]]), card(6, 4, [[], []])))
        self.ok("two cards at once")
        self.server.pull(5, 1)
        self.server.pull(6, 2)
        self.becomes(modules, first)
        self.ok("their removal: the bytes of before")

        lan = onboard(0, "192.0.2.10", "2001:db8::99")
        modules = (lan, other_lan, two_ports, one_port)
        self.end_service()
        self.begin_slow_write(eth0)
        self.server.run("kill -9 $(pidof pni-host)")
        self.wait_for_end(137)
        self.require_half_written(first, modules)
        self.ok("kill -9 in the middle of a write")
        self.start_service()
        self.becomes(modules)
        self.ok("the next start completes the write")

        self.pni_host(f"event shutdown {DEVICE}")
        self.wait("the shutdown is announced", lambda: "shutdown announced" in self.service_output())
        cycles = self.cycles_without_write()
        self.address("add", "203.0.113.7/24", port)
        time.sleep(3)
        self.end_service()
        self.require_no_write()
        last = self.becomes(modules)
        self.ok("no write after the shutdown of the host")
        self.server.shut_down()

        one_port = card(4, 2, [[]], first_port=9)
        modules = (lan, other_lan, two_ports, one_port)
        self.boot(last, {3: macs(3, 2), 4: macs(4, 1, 9)})
        self.address("add", "192.0.2.10/24", eth0)
        self.address("add", "2001:db8::99/64", eth0)
        self.address("add", "198.51.100.1/24", port)
        self.address("add", "2001:db8::1/64", port)
        self.start_service()
        self.becomes(modules)
        self.end_service()
        self.ok("another card in slot 4 after the power was off")
        self.server.shut_down()

    def begin_slow_write(self, interface):
        """Begins a write of many commands and returns in the middle of it."""
        self.start_service(f"strace -f -o /dev/null -P {DEVICE} -e trace=ioctl "
                           "-e inject=ioctl:delay_enter=20000")  # microseconds
        self.wait("a cycle has ended", self.cycles_without_write)
        self.require_no_write()
        self.address("add", "2001:db8::99/64", interface)
        self.wait("the third write command",
                  lambda: len(self.server.fru_commands()) >= self.commands + 3)

    def require_half_written(self, old, modules):
        """Neither the old image nor one with these modules."""
        image = self.server.fru()
        try:
            is_done = fru.modules(image) == modules
        except fru.BadImage:
            is_done = False
        if is_done or image == old:
            raise StepFailed("the write was not cut")


def main():
    begin = time.monotonic()
    story = Story(pathlib.Path(sys.argv[1]).resolve())
    try:
        story.tell()
    except (StepFailed, ServerError, fru.BadImage, OSError) as failure:
        print(f"FAILED: {failure}\nlogs: {story.folder}/boot{story.boots}", file=sys.stderr)
        return 1
    finally:
        if story.server is not None:
            story.server.cut_power()
    print(f"passed in {time.monotonic() - begin:.0f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
