#!/usr/bin/env -S python3 -B
"""The story of a server, from its first record to a power cut in the middle of a write. The shipped
program and module run in an emulated server. After each step ipmitool reads the FRU data, and the
decoder of the test compares the record with what the server has.
usage: story.py FOLDER   the folder of make-guest; the logs go there, too"""
import pathlib
import signal
import sys
import time

import fru
from scene import DEVICE, IDLE_CYCLE, Scene, StepFailed, mac, module, onboard
from server import FRU_SIZE, ServerError

ADDRESS_EVENT = "event: IP address changed"  # in the output of the service
PORT3 = mac(3, 1)
TWO_PORTS = module(3, [[PORT3, "198.51.100.1", "2001:db8::1"], [mac(3, 2)]])
ONE_PORT = module(4, [[mac(4, 1)]])
OTHER_ONE_PORT = module(4, [[mac(4, 9)]])
LAN = mac(0, 0)
CARDS = {3: [PORT3, mac(3, 2)], 4: [mac(4, 1)]}
NEW_CARD = module(6, [[mac(6, 1)], [mac(6, 2)]])
OTHER_CARDS = {**CARDS, 4: [mac(4, 9)]}
MORE_CARDS = {**OTHER_CARDS, 6: [mac(6, 1), mac(6, 2)]}


def record(lan, *cards):
    """The modules of the server, with these addresses at its first onboard card."""
    return (onboard(0, *lan), onboard(1), TWO_PORTS, *(cards or [ONE_PORT]))


def set_addresses(scene, *lan):
    for ip in lan:
        scene.address("add", ip, LAN)
    scene.address("add", "198.51.100.1/24", PORT3)
    scene.address("add", "2001:db8::1/64", PORT3)


def create_and_restore(scene):
    """Returns the image that the controller has afterwards."""
    set_addresses(scene, "192.0.2.10/24")
    scene.pni_host(f"create /tmp/created --size {FRU_SIZE - 256}")
    image = fru.with_neighbours(scene.server.read_file("/tmp/created"), FRU_SIZE)
    scene.server.write_file("/tmp/image", image)
    scene.pni_host(f"restore /tmp/image {DEVICE} --force")
    scene.becomes(record(["192.0.2.10"]), image)
    scene.pni_host(f"check {DEVICE}")
    scene.pni_host(f"diff {DEVICE}")
    scene.pni_host(f"backup {DEVICE} /tmp/backup")
    if scene.server.read_file("/tmp/backup") != image:
        raise StepFailed("the backup differs from the restored image")
    scene.ok("create a record, restore it onto the controller, back it up")
    return image


def start(scene):
    scene.start_service()
    scene.wait("a cycle has ended", lambda: scene.count("log.EM_PNI", IDLE_CYCLE))
    scene.require_no_write()
    scene.ok("the start of the service writes nothing")


def change_addresses(scene, image):
    scene.address("add", "203.0.113.5/24", LAN)
    scene.address("del", "192.0.2.10/24", LAN)
    scene.becomes(record(["203.0.113.5"]))
    scene.ok("another address")
    scene.address("del", "203.0.113.5/24", LAN)
    scene.becomes(record([]))
    scene.ok("address removed")
    scene.address("add", "192.0.2.10/24", LAN)
    scene.becomes(record(["192.0.2.10"]), image)
    scene.ok("address added: byte for byte the image of before")
    scene.server.set_link("lan0", False)
    scene.becomes(record([]))
    scene.ok("link down")
    scene.server.set_link("lan0", True)
    scene.becomes(record(["192.0.2.10"]), image)
    scene.ok("link up: byte for byte the image of before")


def plug_cards(scene, image):
    cards = [ONE_PORT, module(5, [[mac(5, 1)], [mac(5, 2)]])]
    scene.server.plug(5, [mac(5, 1), mac(5, 2)])
    scene.becomes(record(["192.0.2.10"], *cards))
    scene.ok("a card in slot 5")
    scene.server.run(f"ip link set {scene.interface(mac(5, 2))} up")
    scene.address("add", "198.51.100.52/24", mac(5, 2))
    cards[1] = module(5, [[mac(5, 1)], [mac(5, 2), "198.51.100.52"]])
    scene.becomes(record(["192.0.2.10"], *cards))
    scene.ok("its address")
    scene.server.pull(5, 2)
    scene.becomes(record(["192.0.2.10"]), image)
    scene.ok("its removal: byte for byte the image of before")

    scene.server.plug(5, [mac(5, 1)])
    scene.server.plug(6, [mac(6, 1), mac(6, 2)])
    scene.becomes(record(["192.0.2.10"], ONE_PORT, module(5, [[mac(5, 1)]]),
                         module(6, [[mac(6, 1)], [mac(6, 2)]])))
    scene.ok("two cards at once")
    scene.server.pull(5, 1)
    scene.server.pull(6, 2)
    scene.becomes(record(["192.0.2.10"]), image)
    scene.ok("their removal: byte for byte the image of before")


def kill_in_a_write(scene, image):
    after = record(["192.0.2.10", "2001:db8::99"])
    scene.slow_down_service()
    scene.address("add", "2001:db8::99/64", LAN)
    scene.wait_for_half_a_write()
    scene.signal_service("KILL")
    scene.service_ends(137)
    scene.require_half_a_write(image, after)
    scene.ok("kill -9 in the middle of a write")
    scene.start_service()
    scene.becomes(after)
    scene.ok("the next start completes the write")


def shut_down(scene):
    """Returns the image that the controller has afterwards."""
    scene.pni_host(f"event shutdown {DEVICE}")
    scene.wait("the shutdown is announced",
               lambda: scene.count("output", "shutdown announced"))
    cycles, events = scene.count("log.EM_PNI", IDLE_CYCLE), scene.count("output", ADDRESS_EVENT)
    scene.address("add", "203.0.113.7/24", mac(0, 1))
    scene.wait("the module has heard of an address",
               lambda: scene.count("output", ADDRESS_EVENT) > events
               and scene.count("log.EM_PNI", IDLE_CYCLE) > cycles)
    scene.end_service()
    scene.require_no_write()
    image = scene.becomes(record(["192.0.2.10", "2001:db8::99"]))
    scene.ok("the shutdown of the host: no write afterwards")
    scene.server.shut_down()
    return image


def exchange_cards(scene, image):
    """Returns the image that the controller has afterwards."""
    scene.boot(image, MORE_CARDS)
    set_addresses(scene, "192.0.2.10/24", "2001:db8::99/64")
    scene.start_service()
    image = scene.becomes(record(["192.0.2.10", "2001:db8::99"], OTHER_ONE_PORT, NEW_CARD))
    scene.ok("another card in slot 4, a card in slot 6 after the power was off")
    return image


def cut_power_in_a_write(scene, image):
    after = record(["192.0.2.10"], OTHER_ONE_PORT, NEW_CARD)
    scene.slow_down_service()
    scene.address("del", "2001:db8::99/64", LAN)
    scene.wait_for_half_a_write()
    scene.server.cut_power()
    scene.require_half_a_write(image, after)
    scene.ok("the power goes off in the middle of a write")
    scene.boot(scene.server.fru(), OTHER_CARDS)
    set_addresses(scene, "192.0.2.10/24")
    scene.start_service()
    scene.becomes(record(["192.0.2.10"], OTHER_ONE_PORT))
    scene.end_service()
    scene.ok("the next start completes the write and removes the card that is gone from slot 6")
    scene.server.shut_down()


def tell(scene):
    scene.boot(fru.empty_image(FRU_SIZE), CARDS)
    scene.compare_storage()
    image = create_and_restore(scene)
    start(scene)
    change_addresses(scene, image)
    plug_cards(scene, image)
    kill_in_a_write(scene, image)
    image = shut_down(scene)
    image = exchange_cards(scene, image)
    cut_power_in_a_write(scene, image)


def main():
    begin = time.monotonic()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # the server must end, too
    scene = Scene(pathlib.Path(sys.argv[1]).resolve())
    try:
        tell(scene)
    except (StepFailed, ServerError, fru.BadImage, OSError) as failure:
        print(f"FAILED: {failure}", file=sys.stderr)
        try:
            print(f"output of the service:\n{scene.save_logs()}", file=sys.stderr)
        except (AttributeError, ServerError, OSError):
            pass  # the server is off
        print(f"logs: {scene.folder}/boot{scene.boots}", file=sys.stderr)
        return 1
    finally:
        if scene.server is not None:
            scene.server.cut_power()
    print(f"all steps passed in {time.monotonic() - begin:.0f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
