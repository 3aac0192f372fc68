#!/usr/bin/env python3
"""Zip archives for all tests: written field by field, and read by other tools than ours. As a program,
archives.py VERB ARGUMENT... runs the function of that name (see VERBS)."""

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
        keys[0] = ~zlib.crc32(bytes([byte]), keys[0] ^ SENTINEL) & SENTINEL
        keys[1] = ((keys[1] + (keys[0] & 255)) * 134775813 + 1) & SENTINEL
        keys[2] = ~zlib.crc32(bytes([keys[1] >> 24]), keys[2] ^ SENTINEL) & SENTINEL

    for byte in password:
        feed(byte)
    out = bytearray()
    for byte in data:
        t = keys[2] | 2
        out.append(byte ^ ((t * (t ^ 1)) >> 8 & 255))
        feed(byte)
    return bytes(out)


class Entry:
    """`both` replaces fields of both headers. `descriptor`: "signed", "plain" or "long" (with sizes of
    eight bytes). An `absent` entry has a record in the central directory only."""

    def __init__(self, name, data=b"", method=0, flags=0, made=20, attributes=0, internal=0,
                 extra=b"", local_extra=b"", comment=b"", password=None, descriptor=None,
                 date=DATE, time=TIME, both=None, local=None, central=None, absent=False):
        self.name = name.encode() if isinstance(name, str) else name
        packed = deflate(data) if method == 8 else data
        crc = zlib.crc32(data)
        if password is not None:
            flags |= 1
            check = crc >> 24 if descriptor is None else time >> 8
            packed = encrypt(password, b"elevenbytes" + bytes([check]) + packed)
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
    "twins": lambda: archive([Entry("s/Camera.cs", b"upper"), Entry("s/camera.cs", b"lower")]),
    "lower": lambda: archive([Entry("other.txt", b"o"), Entry("s/camera.cs", b"lower")]),
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
    "data missing": lambda: archive([EDIT, Entry("gone.bin", b"x", both=dict(packed=9000, size=9000))]),
}


def make(recipe, path):
    with open(path, "wb") as out:
        out.write(RECIPES[recipe]())


# The files of a list: name, attributes and size, a line each; then the bytes.
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
        target.writestr("sounds/noise.wav", os.urandom(int(megabytes) << 20))


def check(path, password=None):
    with zipfile.ZipFile(path) as source:
        if password:
            source.setpassword(password.encode())
        assert source.testzip() is None
        names = len(source.infolist())
    seven = subprocess.run(["7z", "t", "-p" + (password or ""), path], check=True, capture_output=True)
    assert b"Warning" not in seven.stdout, seven.stdout  # of an archive without entries, too
    if names and not password:
        tar = subprocess.run(["bsdtar", "-tvf", path], check=True, capture_output=True)
        assert tar.stdout.count(b"\n") == names, tar.stdout


# A line for each entry: name, size, method, flags, DOS time, attributes, version, length of extra
# fields, internal attributes.
def list_entries(path):
    with zipfile.ZipFile(path) as source:
        for i in source.infolist():
            print(i.filename, i.file_size, i.compress_type, i.flag_bits,
                  "%d-%02d-%02d %02d:%02d:%02d" % i.date_time, i.external_attr,
                  i.create_system * 256 + i.create_version, len(i.extra), i.internal_attr, sep="|")


def read(path):
    with zipfile.ZipFile(path) as source:
        for info in source.infolist():
            data = source.read(info)
            sys.stdout.buffer.write(b"%s\n%d\n" % (info.filename.encode(), len(data)) + data)


# Of a record; where it and its data are is left out.
FIELDS = [name for name in zipfile.ZipInfo.__slots__ if name not in (
    "header_offset", "_end_offset", "_compresslevel", "compress_level")]


# Comment, bytes before the entries, and of each entry but the changed ones all fields of its record
# but the offset, and its stored bytes; then the comments of the changed ones.
def parts(path, changed):
    with zipfile.ZipFile(path) as source, open(path, "rb") as file:
        data = file.read()
    entries, comments = [], {}
    for i in source.infolist():
        if i.filename in changed:
            comments[i.filename] = i.comment
            continue
        lengths = struct.unpack("<HH", data[i.header_offset + 26:i.header_offset + 30])
        fields = [getattr(i, name) for name in FIELDS]
        entries.append((fields, data[i.header_offset:][:30 + sum(lengths) + i.compress_size]))
    start = min([i.header_offset for i in source.infolist()] + [source.start_dir])
    return (source.comment, data[:start], entries), comments


# All entries but the named ones are the same bytes, and the named ones have their old comments.
def kept(old_path, new_path, *changed):
    (before, comments), (after, new_comments) = parts(old_path, changed), parts(new_path, changed)
    assert before == after
    assert all(comments.get(name, b"") == new_comments[name] for name in new_comments), "comments"


# The same, in the same order; prints the bytes of the named entry.
def replaced(old_path, new_path, name):
    kept(old_path, new_path, name)
    with zipfile.ZipFile(old_path) as old, zipfile.ZipFile(new_path) as new:
        assert old.namelist() == new.namelist(), new.namelist()
        sys.stdout.buffer.write(new.read(name))


VERBS = dict(make=make, pack=pack, many=many, noise=noise, check=check, list=list_entries, read=read,
             kept=kept, replaced=replaced)

if __name__ == "__main__":
    VERBS[sys.argv[1]](*sys.argv[2:])
