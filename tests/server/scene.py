"""What a story in the emulated server needs: the server, the program, the checks."""
import subprocess
import time

import fru
import storage
from server import FRU_SIZE, Server, Slot

PROGRAM = "/usr/local/bin/pni-host"
UNIT = "/usr/local/lib/systemd/system/pni-host.service"
DEVICE = "/dev/ipmi0"
PATIENCE = 60  # seconds, until an event has reached the controller
SLOW = 40000   # microseconds, that each call to the slowed driver takes longer
IDLE_CYCLE = "PNI FRU record not modified"  # in the trace of the module

# Slot 3 names its card, as most firmware does, slots 4 and 5 name their ports. The three ports are
# functions of one device, and the kernel has other numbers for these slots. Slot 6 is known to the
# kernel only.
SLOTS = [Slot(3, "08.0", 13, "01:00.0"), Slot(4, "08.1", 14, "00:08.1"),
         Slot(5, "08.2", 15, "00:08.2"), Slot(6, "09.0", 6)]
BUSES = {3: 1, 4: 2, 5: 3, 6: 4}
ONBOARD_DEVICES = (2, 3)


class StepFailed(Exception):
    pass


def mac(slot, port):
    return f"02:00:00:00:{slot:02x}:{port:02x}"


def module(slot, ports):
    """The module of the card in a slot; `ports` has the MAC and the IP addresses of each port."""
    return fru.Module(slot, "card", tuple(
        (fru.Function(f"0000:{BUSES[slot]:02x}:00.{index}", address, tuple(ips)),)
        for index, (address, *ips) in enumerate(ports)))


def onboard(index, *ips):
    return fru.Module(0, "onboard", ((fru.Function(
        f"0000:00:{ONBOARD_DEVICES[index]:02x}.0", mac(0, index), ips),),))


class Scene:
    def __init__(self, folder):
        self.folder = folder
        self.disk = folder / "disk"
        self.disk.write_bytes(b"")
        subprocess.run(["truncate", "-s", "16M", self.disk], check=True)
        subprocess.run(["mkfs.ext4", "-q", "-F", self.disk], check=True)
        self.disks = storage.make_disks(folder)
        self.server = None
        self.boots = 0
        self.services = 0
        self.log = ""         # folder in the server with the files of the service
        self.neighbours = {}  # the other areas of the FRU data, as they must stay
        self.printed = ""     # by ipmitool about them
        self.begin_step()

    def begin_step(self):
        self.writes_before = len(self.server.fru_writes()) if self.server else 0
        self.step_begin = time.monotonic()

    def ok(self, step):
        """Ends a step: prints it with the number of its write commands."""
        count = len(self.writes_of_step())
        print(f"ok: {step} ({count} write command{'' if count == 1 else 's'}, "
              f"{time.monotonic() - self.step_begin:.0f} s)", flush=True)
        self.begin_step()

    def writes_of_step(self):
        return self.server.fru_writes()[self.writes_before:]

    def wait(self, what, condition):
        end = time.monotonic() + PATIENCE
        while not condition():
            if time.monotonic() > end:
                raise StepFailed(f"waited {PATIENCE} s until {what}")
            time.sleep(0.05)

    # The server.

    def boot(self, image, cards):
        """`cards`: for each slot in use the MAC addresses of its card."""
        self.boots += 1
        self.server = None
        self.begin_step()
        self.server = Server(self.folder / f"boot{self.boots}", self.folder, self.disk, image, SLOTS,
                             [mac(0, index) for index in range(len(ONBOARD_DEVICES))], cards,
                             self.disks)
        self.server.wait_until_up()
        self.neighbours = fru.neighbours(image)
        self.printed = self.server.run("ipmitool fru print 0")
        self.server.run("for i in /sys/class/net/eth*; do ip link set ${i##*/} up; done")
        self.wait("the links are up", lambda: "0" not in self.server.run(
            "cat /sys/class/net/eth*/carrier"))
        if self.read_controller() != image:
            raise StepFailed("the controller does not have its data")
        self.ok(f"boot {self.boots}")

    def interface(self, address):
        return self.server.run(f"grep -l {address} /sys/class/net/eth*/address").split("/")[4]

    def address(self, change, ip, of_mac):
        self.server.run(f"ip addr {change} {ip} dev {self.interface(of_mac)}")

    def save_logs(self):
        """Keeps the files of the services beside those of QEMU. Returns the last lines of output."""
        _, text = self.server.try_run("cd /var/log; tail -n 2000 */output */log.EM_PNI; dmesg")
        (self.folder / f"boot{self.boots}/service-logs").write_text(text)
        return self.server.try_run(f"tail -n 5 {self.log}/output")[1] if self.log else ""

    # The program.

    def pni_host(self, arguments):
        status, output = self.server.try_run(f"{PROGRAM} {arguments}")
        if status != 0:
            raise StepFailed(f"pni-host {arguments}: exit code {status}\n{output}")

    def start_service(self):
        """Starts the command of the systemd unit, without capabilities as there."""
        self.services += 1
        self.log = f"/var/log/service{self.services}"
        self.server.run(
            f"mkdir -p {self.log}; cd /; export QL_LOG_DEBUG_LEVEL=3 QL_LOG_FILE_DIR={self.log}; "
            "(setsid /usr/bin/setpriv --bounding-set=-all --no-new-privs "
            f"$(sed -n s/^ExecStart=//p {UNIT}) >{self.log}/output 2>&1; "
            f"echo $? >{self.log}/status) &")

    def compare_storage(self):
        run = self.server.run
        run(storage.USE_DISKS)
        for start, show_links in (("true", "true"), (storage.START_UDEVD, storage.SHOW_LINKS)):
            run(start)
            lines = storage.differences(run(f"{PROGRAM} storage --json"),
                                        run("lsblk --json --bytes -O"), run(show_links))
            if lines:
                raise StepFailed("\n".join(lines))
        run(storage.STOP_UDEVD)
        run(storage.LEAVE_DISKS)
        self.ok("pni-host storage and lsblk say the same of NVMe, SATA and virtio disks, without "
                "udevd and with it")

    def count(self, file, text):
        """The lines with the text in a file of the service."""
        return int(self.server.try_run(f"grep -cs '{text}' {self.log}/{file}")[1] or 0)

    def signal_service(self, signal):
        self.server.run(f"kill -{signal} $(pidof pni-host)")

    def service_ends(self, code):
        self.wait("the service has ended",
                  lambda: self.server.try_run(f"test -s {self.log}/status")[0] == 0)
        status = int(self.server.run(f"cat {self.log}/status"))
        if status != code:
            raise StepFailed(f"the service has ended with {status}, not {code}")

    def end_service(self):
        self.signal_service("TERM")
        self.service_ends(0)

    def slow_down_service(self):
        """From now on its calls to the IPMI driver take long."""
        self.server.run(f"setsid strace -f -o /dev/null -P {DEVICE} -e trace=ioctl "
                        f"-e inject=ioctl:delay_enter={SLOW} -p $(pidof pni-host) &")
        self.wait("strace is attached", lambda: "TracerPid:\t0" not in self.server.run(
            "cat /proc/$(pidof pni-host)/status"))

    def wait_for_half_a_write(self):
        self.wait("a write has begun", lambda: len(self.writes_of_step()) >= 3)

    # The checks.

    def has(self, modules):
        """In any order: cards that come at once are added as their drivers find them."""
        try:
            return sorted(fru.modules(self.server.fru())) == sorted(modules)
        except fru.BadImage:
            return False

    def becomes(self, modules, image=None):
        """Waits until the record has these modules, and the image these bytes if they are given.
        Returns the image that ipmitool reads."""
        try:
            self.wait("the record is as expected",
                      lambda: self.has(modules) and image in (None, self.server.fru()))
        except StepFailed as failure:
            now = self.read_controller()
            raise StepFailed(f"{failure}\n{fru.differences(image, now)}" if image else
                             f"{failure}\nexpected:\n{fru.text(modules)}\n"
                             f"found:\n{fru.text_of_image(now)}") from None
        found = self.read_controller()
        if not self.has(modules) or image not in (None, found):
            raise StepFailed("the record has changed again")
        return found

    def read_controller(self):
        """What ipmitool reads: it must be what the write commands have made, and the other areas
        must be untouched."""
        for _ in range(30):  # a write may still be under way
            count = len(self.server.fru_writes())
            time.sleep(0.3)
            self.server.run("ipmitool fru read 0 /tmp/read")
            image, written = self.server.read_file("/tmp/read"), self.server.fru()
            if len(self.server.fru_writes()) == count:
                break
        else:
            raise StepFailed("the write commands do not end")
        if image != written:
            raise StepFailed("ipmitool does not read what was written\n"
                             + fru.differences(written, image))
        for offset, data in self.server.fru_writes():
            for name, (begin, area) in self.neighbours.items():
                if offset < begin + len(area) and begin < offset + len(data):
                    raise StepFailed(f"a write command at byte {offset} reaches the {name} area")
        if self.server.run("ipmitool fru print 0") != self.printed:
            raise StepFailed("ipmitool prints other assets than before")
        return image

    def require_half_a_write(self, before, after):
        """`after`: the modules when the write is complete."""
        if self.server.fru() == before or self.has(after):
            raise StepFailed("the write was not cut")

    def require_no_write(self):
        if writes := self.writes_of_step():
            raise StepFailed(f"{len(writes)} write commands, the first at byte {writes[0][0]}")
