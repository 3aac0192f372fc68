#!/usr/bin/env python3
"""Zip archives for all tests: written field by field, and read by other tools than ours.

As a program:
archives.py make RECIPE ARCHIVE        an archive of a kind that other tools write: see RECIPES
archives.py pack LIST ARCHIVE          the files of LIST (name, attributes, size: a line each; bytes)
archives.py many COUNT FOLDERS ARCHIVE    small files in folders
archives.py noise MEGABYTES ARCHIVE    one file that does not compress
archives.py check ARCHIVE [PASSWORD]   zipfile, 7-Zip and bsdtar read every entry
archives.py list ARCHIVE               a line for each entry: name, size, method, flags, DOS time,
                                       attributes, version, length of extra fields, internal attributes
archives.py read ARCHIVE               of each entry name and size, a line each, and the bytes
archives.py kept OLD NEW [NAME...]     all entries but the named ones are the same bytes, and the
                                       named ones have their old comments
archives.py replaced OLD NEW NAME      the same, in the same order; prints the named entry's bytes
"""

import os
import struct
import subprocess
import sys
import zipfile
import zlib

DATE = (2001 - 1980) << 9 | 4 << 5 | 17  # 17 April 2001
TIME = 13 << 11 | 37 << 5 | 21  # 13:37:42
UNIX = 3 << 8 | 20
SENTINEL = 0xFFFFFFFF  # the number is in the zip64 field


def deflate(data):
    compressor = zlib.compressobj(9, zlib.DEFLATED, -15)
    return compressor.compress(data) + compressor.flush()


def zip64(*numbers):
    """The extra field with 64-bit numbers."""
    return struct.pack("<2H%dQ" % len(numbers), 1, 8 * len(numbers), *numbers)


def encrypt(password, data):
    """The traditional stream cipher."""
    keys = [0x12345678, 0x23456789, 0x34567890]

    def feed(byte):
        step = lambda crc, b: zlib.crc32(bytes([b]), crc ^ 0xFFFFFFFF) ^ 0xFFFFFFFF  # noqa: E731
        keys[0] = step(keys[0], byte)
        keys[1] = ((keys[1] + (keys[0] & 255)) * 134775813 + 1) & 0xFFFFFFFF
        keys[2] = step(keys[2], keys[1] >> 24)

    for byte in password:
        feed(byte)
    out = bytearray()
    for byte in data:
        t = keys[2] | 2
        out.append(byte ^ ((t * (t ^ 1)) >> 8 & 255))
        feed(byte)
    return bytes(out)


class Entry:
    """One entry. `both` replaces fields of its two headers, `local` and `central` those of one;
    `descriptor` is "signed", "plain" or "long" (with sizes of eight bytes). An entry that is
    `absent` has a record in the central directory only."""

    def __init__(self, name, data=b"", method=0, flags=0, made=20, attributes=0, internal=0,
                 extra=b"", local_extra=b"", comment=b"", password=None, descriptor=None,
                 date=DATE, time=TIME, both=None, local=None, central=None, absent=False):
        self.name = name.encode() if isinstance(name, str) else name
        packed = deflate(data) if method == 8 else data
        crc = zlib.crc32(data)
        if password is not None:
            flags |= 1
            packed = encrypt(password, b"elevenbytes" + bytes([crc >> 24]) + packed)
        fields = dict(name=self.name, flags=flags, method=method, time=time, date=date,
                      crc=crc, packed=len(packed), size=len(data))
        self.local = dict(fields, extra=local_extra)
        self.data, tail = packed, b""
        if descriptor is not None:
            fields["flags"] |= 8
            self.local.update(flags=flags | 8, crc=0, packed=0, size=0)
            tail = (b"" if descriptor == "plain" else b"PK\7\x08") + struct.pack(
                "<I2Q" if descriptor == "long" else "<3I", crc, len(packed), len(data))
        self.local.update({**(both or {}), **(local or {})})
        self.central = dict(fields, extra=extra, made=made, attributes=attributes,
                            internal=internal, comment=comment)
        self.central.update({**(both or {}), **(central or {})})
        self.stored = b"" if absent else self.header() + packed + tail

    def header(self):
        f = self.local
        return struct.pack("<4s5H3I2H", b"PK\3\4", 20, f["flags"], f["method"],
                           f["time"], f["date"], f["crc"], f["packed"], f["size"],
                           len(f["name"]), len(f["extra"])) + f["name"] + f["extra"]

    def record(self, offset):
        f = self.central
        return struct.pack("<4s6H3I5H2I", b"PK\1\2", f["made"], 20, f["flags"], f["method"],
                           f["time"], f["date"], f["crc"], f["packed"], f["size"],
                           len(f["name"]), len(f["extra"]), len(f["comment"]), 0, f["internal"],
                           f["attributes"], f.get("offset", offset)) + \
            f["name"] + f["extra"] + f["comment"]


def end_record(count, size, offset, comment=b"", end64_at=None):
    """The end record; with those of zip64 before it where `end64_at` is their offset."""
    end64 = b""
    if end64_at is not None:
        end64 = struct.pack("<4sQ2H2I4Q", b"PK\6\6", 44, 45, 45, 0, 0, count, count, size, offset) + \
            struct.pack("<4sIQI", b"PK\6\7", 0, end64_at, 1)
        count, size, offset = 0xFFFF, SENTINEL, SENTINEL
    return end64 + struct.pack("<4s4H2IH", b"PK\5\6", 0, 0, count & 0xFFFF, count & 0xFFFF, size,
                               offset, len(comment)) + comment


def archive(entries, comment=b"", front=b"", shift=True, gap=b"", order=None, count=None,
            directory_offset=None, end64=None, behind=b"", size=None):
    """The bytes of an archive. `shift`: offsets count from the end of `front`. `order`: the order of
    the records if it is not that of the data. `end64`: the offset in the zip64 locator, or
    "right"."""
    out = bytearray(front)
    base = len(front) if shift else 0
    offsets = []
    for entry in entries:
        offsets.append(len(out) - base)
        out += entry.stored + gap
    start = len(out)
    for i in order or range(len(entries)):
        out += entries[i].record(offsets[i])
    return bytes(out) + end_record(
        len(entries) if count is None else count, len(out) - start if size is None else size,
        start - base if directory_offset is None else directory_offset, comment,
        len(out) if end64 == "right" else end64) + behind


TEXT = b"some text of an entry\r\n" * 20
FRONT = b"MZ in front of it all" * 30
MOMENT = dict(extra=b"\x55\x54\5\0\1\0\0\0\0", local_extra=b"\x55\x54\5\0\1\0\0\0\0")
AES = dict(extra=b"\1\x99\7\0\2\0AE\3\x08\0", local_extra=b"\1\x99\7\0\2\0AE\3\x08\0")
KEEP = Entry("keep.txt", TEXT, 8, comment=b"kept comment", **MOMENT)
EDIT = Entry("edit.txt", b"before", comment=b"of the edited one")
LAST = Entry("sub/last.bin", bytes(range(256)))

RECIPES = {
    "plain": lambda: archive([KEEP, EDIT, LAST]),
    "text": lambda: archive([KEEP, Entry("edit.txt", b"before", internal=1), LAST]),
    "prefix": lambda: archive([KEEP, EDIT, LAST], b"c" * 65535, FRONT),
    "descriptor": lambda: archive(
        [Entry("streamed.txt", TEXT, 8, descriptor="signed"), EDIT, KEEP, LAST]),
    "unreadable": lambda: archive(
        [Entry("secret.bin", b"\xAA" * 60, 99, 1, **AES), EDIT, Entry("odd.bin", b"\xBB" * 40, 97),
         LAST]),
    "duplicates": lambda: archive([EDIT, KEEP, Entry("edit.txt", b"the live one"), LAST]),
    "dotted": lambda: archive(
        [Entry("./", attributes=0x10), KEEP, Entry("./sub/edit.txt", b"before"), LAST]),
    # The offsets count from the file's start, as some tools write them.
    "empty prefix": lambda: archive([], front=FRONT, shift=False),
    "backslash": lambda: archive([Entry("sub\\edit.txt", b"before"), KEEP, LAST]),
    "cp437": lambda: archive([Entry(b"\x81ber.txt", b"before"), KEEP]),
    "case": lambda: archive([Entry("Sub/Edit.TXT", b"before"), KEEP]),
    "odd order": lambda: archive([LAST, EDIT, KEEP], gap=b"a gap", order=[2, 1, 0]),
    "zip64": lambda: archive(
        [Entry("keep.bin", b"k" * 1000, local=dict(packed=SENTINEL, size=SENTINEL),
               local_extra=zip64(1000, 1000)), EDIT], end64="right"),
    # Two records for the same bytes; one of them is to be replaced.
    "shared": lambda: archive([EDIT, LAST, Entry("same.txt", b"before", central=dict(offset=0))]),
    "many": lambda: archive([Entry("%d" % number) for number in range(65500)]),
    "data missing": lambda: archive([EDIT, Entry("gone.bin", b"x", both=dict(packed=9000, size=9000))]),
    "not an archive": lambda: b"this is a letter, not an archive\n" * 10,
}


def make(recipe, path):
    with open(path, "wb") as out:
        out.write(RECIPES[recipe]())


# --- by Python's zipfile -------------------------------------------------------------------------

def pack(source, path):
    with zipfile.ZipFile(path, "w") as target, open(source, "rb") as files:
        while name := files.readline():
            info = zipfile.ZipInfo(name.decode().rstrip("\n"), (2001, 3, 4, 12, 30, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 0
            info.external_attr = int(files.readline())
            target.writestr(info, files.read(int(files.readline())))


def many(count, folders, path):
    with open(path, "wb") as out:
        out.write(archive([Entry("folder%05d/file%06d.cs" % (i * int(folders) // int(count), i),
                                 b"// %d\n" % i) for i in range(int(count))],
                          end64="right" if int(count) > 65535 else None))


def noise(megabytes, path):
    with zipfile.ZipFile(path, "w") as target:
        with target.open("sounds/noise.wav", "w") as entry:
            for _ in range(int(megabytes)):
                entry.write(os.urandom(1 << 20))


def check(path, password=None):
    with zipfile.ZipFile(path) as source:
        if password:
            source.setpassword(password.encode())
        assert source.testzip() is None
        names = len(source.infolist())
    seven = subprocess.run(["7z", "t", "-p" + (password or ""), path], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT)
    # 7-Zip accepts an archive without entries, too.
    assert seven.returncode == 0 and b"Warning" not in seven.stdout, seven.stdout.decode()
    if names and not password:
        tar = subprocess.run(["bsdtar", "-tvf", path], stdout=subprocess.PIPE)
        assert tar.returncode == 0 and tar.stdout.count(b"\n") == names, tar.stdout


def list_entries(path):
    with zipfile.ZipFile(path) as source:
        for i in source.infolist():
            print("%s|%d|%d|%d|%04d-%02d-%02d %02d:%02d:%02d|%d|%d|%d|%d" % (
                (i.filename, i.file_size, i.compress_type, i.flag_bits) + i.date_time +
                (i.external_attr, i.create_system * 256 + i.create_version, len(i.extra),
                 i.internal_attr)))


def read(path):
    with zipfile.ZipFile(path) as source:
        for info in source.infolist():
            data = source.read(info)
            sys.stdout.buffer.write(b"%s\n%d\n" % (info.filename.encode(), len(data)) + data)


# --- by the bytes --------------------------------------------------------------------------------

def parse(data):
    """Comment, prefix length and (raw record without offset, name, local offset) of each entry."""
    end = data.rindex(b"PK\5\6")
    count, size, start = struct.unpack("<HII", data[end + 10:end + 20])
    at = end - size
    if data[end - 20:end - 16] == b"PK\6\7":
        end64 = struct.unpack("<Q", data[end - 12:end - 4])[0]
        count, size, start = struct.unpack("<QQQ", data[end64 + 32:end64 + 56])
        at = start
    base = at - start
    entries = []
    for _ in range(count):
        assert data[at:at + 4] == b"PK\1\2", at
        n, e, c = struct.unpack("<HHH", data[at + 28:at + 34])
        offset = struct.unpack("<I", data[at + 42:at + 46])[0]
        raw = data[at:at + 42] + data[at + 46:at + 46 + n + e + c]
        entries.append((raw, data[at + 46:at + 46 + n], offset + base))
        at += 46 + n + e + c
    return data[end + 22:], base, entries


def comments(entries, names):
    return {name: raw[len(raw) - struct.unpack("<H", raw[32:34])[0]:]
            for raw, name, _ in entries if name in names}


def stored_bytes(data, raw, offset):
    packed = struct.unpack("<I", raw[20:24])[0]
    n, e = struct.unpack("<HH", data[offset + 26:offset + 30])
    return data[offset:offset + 30 + n + e + packed]


def kept(old_path, new_path, *changed):
    """Returns the raw names of all entries, before and after."""
    old, new = open(old_path, "rb").read(), open(new_path, "rb").read()
    old_comment, old_base, old_entries = parse(old)
    new_comment, new_base, new_entries = parse(new)
    assert old_comment == new_comment and old_base == new_base
    assert old[:old_base] == new[:new_base]
    changed = {name.encode(code, "replace") for name in changed for code in ("utf-8", "cp437")}
    before, after = comments(old_entries, changed), comments(new_entries, changed)
    assert all(after[name] == before.get(name, b"") for name in after), "comments"
    was = [e for e in old_entries if e[1] not in changed]
    now = [e for e in new_entries if e[1] not in changed]
    assert [e[0] for e in was] == [e[0] for e in now], "records"
    for (raw, name, at), (_, _, moved) in zip(was, now):
        assert stored_bytes(old, raw, at) == stored_bytes(new, raw, moved), name
    return [e[1] for e in old_entries], [e[1] for e in new_entries]


def replaced(old_path, new_path, name):
    before, after = kept(old_path, new_path, name)
    # A name in code page 437 may be stored in UTF-8 by now.
    assert len(before) == len(after), after
    with zipfile.ZipFile(old_path) as old, zipfile.ZipFile(new_path) as new:
        assert old.namelist() == new.namelist(), new.namelist()
        sys.stdout.buffer.write(new.read(name))


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    verbs = dict(make=make, pack=pack, many=many, noise=noise, check=check, list=list_entries,
                 read=read, kept=kept, replaced=replaced)
    verbs[sys.argv[1]](*sys.argv[2:])
