"""Writes zip archives field by field, right or wrong as told."""

import struct
import zlib

DATE = (2001 - 1980) << 9 | 4 << 5 | 17  # 17 April 2001
TIME = 13 << 11 | 37 << 5 | 21  # 13:37:42
UNIX = 3 << 8 | 20


def deflate(data):
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


class Cipher:
    """The traditional stream cipher."""

    def __init__(self, password):
        self.keys = [0x12345678, 0x23456789, 0x34567890]
        for byte in password:
            self.feed(byte)

    def feed(self, byte):
        step = lambda crc, b: zlib.crc32(bytes([b]), crc ^ 0xFFFFFFFF) ^ 0xFFFFFFFF
        self.keys[0] = step(self.keys[0], byte)
        self.keys[1] = ((self.keys[1] + (self.keys[0] & 255)) * 134775813 + 1) & 0xFFFFFFFF
        self.keys[2] = step(self.keys[2], self.keys[1] >> 24)

    def encrypt(self, data):
        out = bytearray()
        for byte in data:
            t = self.keys[2] | 2
            out.append(byte ^ ((t * (t ^ 1)) >> 8 & 255))
            self.feed(byte)
        return bytes(out)


class Entry:
    """One entry. `local` and `central` replace single fields of one of its two headers;
    `descriptor` is "signed", "plain" or "long" (with sizes of eight bytes)."""

    def __init__(self, name, data=b"", method=0, flags=0, made=20, attributes=0, internal=0,
                 extra=b"", local_extra=b"", comment=b"", password=None, descriptor=None,
                 date=DATE, time=TIME, local=None, central=None):
        self.name = name.encode() if isinstance(name, str) else name
        packed = deflate(data) if method == 8 else data
        crc = zlib.crc32(data)
        if password is not None:
            flags |= 1
            packed = Cipher(password).encrypt(b"elevenbytes" + bytes([crc >> 24]) + packed)
        self.packed = packed
        self.fields = dict(name=self.name, flags=flags, method=method, time=time, date=date,
                           crc=crc, packed=len(packed), size=len(data))
        self.local = dict(self.fields, extra=local_extra, version=20)
        self.tail = b""
        if descriptor is not None:
            self.fields["flags"] |= 8
            self.local.update(flags=flags | 8, crc=0, packed=0, size=0)
            self.tail = (b"" if descriptor == "plain" else b"PK\x07\x08") + struct.pack(
                "<I2Q" if descriptor == "long" else "<3I", crc, len(packed), len(data))
        self.local.update(local or {})
        self.central = dict(self.fields, extra=extra, made=made, attributes=attributes,
                            internal=internal, comment=comment)
        self.central.update(central or {})

    def local_bytes(self):
        f = self.local
        return struct.pack("<4s5H3I2H", b"PK\x03\x04", f["version"], f["flags"], f["method"],
                           f["time"], f["date"], f["crc"], f["packed"], f["size"],
                           len(f["name"]), len(f["extra"])) + f["name"] + f["extra"]

    def central_bytes(self, offset):
        f = self.central
        return struct.pack("<4s6H3I5H2I", b"PK\x01\x02", f["made"], 20, f["flags"], f["method"],
                           f["time"], f["date"], f["crc"], f["packed"], f["size"],
                           len(f["name"]), len(f["extra"]), len(f["comment"]), 0, f["internal"],
                           f["attributes"], f.get("offset", offset)) + \
            f["name"] + f["extra"] + f["comment"]


def end_record(count, size, offset, comment=b""):
    return struct.pack("<4s4H2IH", b"PK\x05\x06", 0, 0, count & 0xFFFF, count & 0xFFFF, size,
                       offset, len(comment)) + comment


def end64_records(count, size, offset, at):
    return struct.pack("<4sQ2H2I4Q", b"PK\x06\x06", 44, 45, 45, 0, 0, count, count, size,
                       offset) + struct.pack("<4sIQI", b"PK\x06\x07", 0, at, 1)


def archive(entries, comment=b"", front=b"", shift=True, gap=b"", order=None, count=None,
            directory_offset=None, zip64=None, behind=b"", size=None):
    """The bytes of an archive. `shift`: offsets count from behind `front`. `order`: the order of
    the records where it is not that of the data. `zip64`: the offset that the locator tells, or
    "right"."""
    out = bytearray(front)
    offsets = []
    for entry in entries:
        offsets.append(len(out) - (len(front) if shift else 0))
        out += entry.local_bytes() + entry.packed + entry.tail + gap
    start = len(out)
    for i in order or range(len(entries)):
        out += entries[i].central_bytes(offsets[i])
    size = len(out) - start if size is None else size
    told = start - (len(front) if shift else 0)
    if directory_offset is not None:
        told = directory_offset
    number = len(entries) if count is None else count
    if zip64 is not None:
        at = len(out) if zip64 == "right" else zip64
        out += end64_records(number, size, told, at)
        out += end_record(0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, comment)
    else:
        out += end_record(number, size, told, comment)
    return bytes(out) + behind
