"""The write commands that reach the controller, from QEMU's trace of the registers of its KCS
interface: counted without the product."""
import re

REGISTER_WRITE = re.compile(r"addr 0x([0-9a-f]+) value 0x([0-9a-f]+) .*'ipmi-kcs'")
WRITE_START, WRITE_END = 0x61, 0x62  # in the command register
WRITE_FRU = [0x0A << 2, 0x12, 0]     # network function, command, FRU device


class KcsTrace:
    def __init__(self, path):
        self.file = open(path, encoding="ascii")
        self.begun_line = ""
        self.message = None  # the bytes of a message that has begun
        self.is_last_byte = False
        self.writes = []     # (offset, bytes)

    def fru_writes(self):
        """All write commands until now: (offset, bytes)."""
        for text in self.file:
            self.begun_line += text
            if text.endswith("\n"):
                if found := REGISTER_WRITE.search(self.begun_line):
                    self.take(int(found[1], 16), int(found[2], 16))
                self.begun_line = ""
        return self.writes

    def take(self, register, value):
        if register % 2:  # the command register
            self.is_last_byte = value == WRITE_END
            if value == WRITE_START:
                self.message = []
            elif value != WRITE_END:
                self.message = None
        elif self.message is not None:
            self.message.append(value)
            if self.is_last_byte:
                if self.message[:3] == WRITE_FRU:
                    offset = self.message[3] + self.message[4] * 256
                    self.writes.append((offset, bytes(self.message[5:])))
                self.message = None
