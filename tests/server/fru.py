"""Reads and makes FRU images with a record, from docs/record.md alone: shares nothing with the
product."""
import ipaddress
from typing import NamedTuple

TECHNOLOGIES = ("NIC", "FC", "FCoE", "iSCSI", "IB", "SAS", "RoCE")
KINDS = ("onboard", "mezzanine", "card")
AREAS = {2: "chassis", 3: "board", 4: "product"}  # by their offset in the common header


class BadImage(Exception):
    pass


class Function(NamedTuple):
    """A function of technology NIC."""
    pci: str  # "0000:03:00.0"
    mac: str  # the manufacturer's, which must also be the active one
    ips: tuple[str, ...] = ()

    def __str__(self):
        return " ".join((self.pci, self.mac, *self.ips))


class Module(NamedTuple):
    id: int  # the slot; 0 = onboard
    kind: str
    ports: tuple[tuple[Function, ...], ...]

    def __str__(self):
        return f"{self.kind} {self.id}: " + "; ".join(
            ", ".join(map(str, port)) for port in self.ports)


def require(condition, text):
    if not condition:
        raise BadImage(text)


def part(image, begin, size):
    require(begin + size <= len(image), f"bytes {begin} to {begin + size - 1} are outside")
    return image[begin:begin + size]


def checked(image, begin, size, what):
    area = part(image, begin, size)
    require(sum(area) % 256 == 0, f"the checksum of the {what} is wrong")
    return area


def checksum(data):
    return -sum(data) % 256


def neighbours(image):
    """The bytes of the chassis, board and product areas, by name."""
    header = checked(image, 0, 8, "common header")
    areas = {}
    for field, name in AREAS.items():
        begin = header[field] * 8
        require(begin, f"there is no {name} area")
        areas[name] = (begin, checked(image, begin, image[begin + 1] * 8, name + " area"))
    return areas


def number(data):
    return int.from_bytes(data, "little")


def read_list(image, at, count, what, read_one):
    """Elements one behind the other. `read_one` returns an element and the place behind it."""
    elements = []
    for index in range(count):
        is_last = bool(part(image, at, 1)[0] & 0x80)
        require(is_last == (index == count - 1), f"{what} {index}: the end mark is wrong")
        element, at = read_one(image, at)
        elements.append(element)
    return tuple(elements), at


def read_function(image, at):
    size = part(image, at, 2)[1] * 4
    data = part(image, at, size)
    technology = TECHNOLOGIES[data[14]]
    require(technology == "NIC", f"the technology is {technology}")
    packed = number(data[26:30])
    pci = (f"{packed >> 16:04x}:{packed >> 8 & 0xFF:02x}:{packed >> 3 & 0x1F:02x}."
           f"{packed & 7}")
    block = data[data[2]:]
    mac, active = block[0:6].hex(":"), block[6:12].hex(":")
    require(mac == active, f"{pci}: the active address is {active} instead of {mac}")
    ipv4s, ipv6s = block[44] & 0x0F, block[44] >> 4
    ips, place = [], 45
    for size_of_one in [4] * ipv4s + [16] * ipv6s:
        ips.append(str(ipaddress.ip_address(part(block, place, size_of_one))))
        place += size_of_one
    return Function(pci, mac, tuple(ips)), at + size


def read_port(image, at):
    head = part(image, at, 3)
    return read_list(image, at + head[1], head[2], "function", read_function)


def read_module(image, at):
    head = part(image, at, 24)
    ports, end = read_list(image, at + head[1], head[2], "port", read_port)
    return Module(head[0] & 0x3F, KINDS[head[23]], ports), end


def modules(image):
    """The modules of the record, every checksum and end mark checked. Any bytes may be given."""
    try:
        return read_record(image)
    except IndexError:
        raise BadImage("a length or a code is too large") from None


def read_record(image):
    begin = checked(image, 0, 8, "common header")[1] * 8
    require(begin, "there is no internal use area")
    area = checked(image, begin, 8, "internal use area")
    require(area[0] == 1 and area[1] == 1, "the internal use area has another version or type")
    record = begin + area[2] * 8
    header = checked(image, record, 6, "record header")
    require(header[0] == 0xF0 and header[1] & 0x0F in (11, 12), "this is no record")
    length = number(header[2:4])
    data = part(image, record + 6, length)
    require((sum(data) + header[4]) % 256 == 0, "the checksum of the record is wrong")
    require(data[3] == 1, "the record has another subtype")
    found, end = read_list(image, record + 10, area[3], "module", read_module)
    require(end == record + 6 + length, "the record is longer or shorter than its modules")
    return found


def text_field(text):
    return bytes([0xC0 | len(text)]) + text.encode()


def area(size, head, texts):
    """An area of `size` bytes: version, length, `head`, texts, the end mark 0xC1, the checksum."""
    data = bytes([1, size // 8]) + head + b"".join(map(text_field, texts)) + b"\xC1"
    data = data.ljust(size - 1, b"\0")
    return data + bytes([checksum(data)])


def with_neighbours(image, size):
    """The record of `image` with a chassis, a board and a product area at the end of `size` bytes."""
    added = ((2, area(32, b"\x17", ["CHASSIS-PART", "CH0001"])),
             (3, area(64, b"\x19\0\0\0", ["Test", "Server Board", "BD0001", "BOARD-PART", "file"])),
             (4, area(64, b"\x19", ["Test", "Server", "PART", "1.0", "SN0001", "tag", "file"])))
    result = bytearray(image[:size].ljust(size, b"\0"))
    begin = size
    for field, data in added:
        begin -= len(data)
        require(not any(result[begin:begin + len(data)]), "no room for the areas")
        result[begin:begin + len(data)] = data
        result[field] = begin // 8
    result[7] = checksum(result[:7])
    return bytes(result)


def empty_image(size):
    """An image without a record."""
    return with_neighbours(bytes([1, 0, 0, 0, 0, 0, 0, 0]), size)


def text(found):
    return "\n".join(map(str, found))


def text_of_image(image):
    try:
        return text(modules(image))
    except BadImage as fault:
        return f"no valid record: {fault}"


def differences(old, new):
    """The lines of 16 bytes that differ, as hexadecimal digits."""
    lines = []
    for at in range(0, max(len(old), len(new)), 16):
        left, right = old[at:at + 16], new[at:at + 16]
        if left != right:
            lines.append(f"{at:6}: {left.hex(' ')}\n     -> {right.hex(' ')}")
    return "\n".join(lines)
