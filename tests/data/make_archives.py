#!/usr/bin/env python3
"""Makes the archives of archives/ and hostile/, the same bytes each time, or with --large FOLDER those
that are too large to be kept. README.md lists those that other tools made."""

import os
import struct
import sys
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "support"))
from archives import SENTINEL, UNIX, Entry, archive, deflate, end_record, zip64  # noqa: E402

TEXT = b"datablock ShapeBase(Tree) {\r\n   shapeFile = \"tree.dts\";\r\n};\r\n" * 40
NOISE = bytes((i * i * 31 + i // 7) & 255 for i in range(3000))
GOOD = Entry("good.txt", b"good")
ZERO = b"\x9d\x0a\xd9\x6d"


def save(folder, name, data):
    with open(os.path.join(HERE, folder, name + ".vl2"), "wb") as file:
        file.write(data)


def unusual():
    three = [Entry("a.txt", b"first"), Entry("dir/b.txt", TEXT, method=8), Entry("c.png", NOISE)]
    right = {
        "backslashes": archive([Entry("maps\\base\\a.png", NOISE), Entry("maps\\b.txt", b"b"),
                                Entry("empty\\")]),
        "names-utf8": archive([Entry("café.txt", b"1", flags=0x800), Entry("Привет.txt", b"2")]),
        "front-shifted": archive(three, front=b"#!/bin/sh\nexit\n" * 20),
        "front-counted": archive(three, front=b"#!/bin/sh\nexit\n" * 20, shift=False),
        "gaps": archive(three, gap=b"\0" * 17),
        "odd-order": archive(three, order=[2, 0, 1]),
        "empty": archive([]),
        "comment-65535": archive(three, comment=b"c" * 65535),
        "zip64-end": archive(three, end64="right"),
        "zip64-sizes": archive([Entry("big.txt", TEXT, 8, both=dict(packed=SENTINEL, size=SENTINEL),
                                      local_extra=zip64(len(TEXT), len(deflate(TEXT))),
                                      extra=zip64(len(TEXT), len(deflate(TEXT)))), GOOD]),
        "descriptor-signed": archive([Entry("a.txt", TEXT, method=8, descriptor="signed"), GOOD]),
        "descriptor-plain": archive([Entry("a.txt", TEXT, method=8, descriptor="plain"), GOOD]),
        # Four bytes whose checksum is 0, and sizes of eight bytes after the data.
        "descriptor-zero-checksum": archive([
            Entry("a.txt", ZERO, descriptor="signed"), Entry("b.txt", ZERO, descriptor="plain"),
            GOOD]),
        "descriptor-zip64": archive([Entry("a.txt", TEXT, 8, descriptor="long", local_extra=zip64(0, 0),
                                           local=dict(packed=SENTINEL, size=SENTINEL)), GOOD]),
        "deflated-empty": archive([Entry("a.txt", b"", method=8), GOOD]),
        "attributes": archive([
            Entry("readonly.txt", b"r", attributes=0x01), Entry("hidden.txt", b"h", attributes=2),
            Entry("system.txt", b"s", attributes=0x26), Entry("archive.txt", b"a", attributes=32),
            Entry("unix.txt", b"u", made=UNIX, attributes=0o100444 << 16),
            Entry("plain.txt", b"p", made=UNIX, attributes=0o100644 << 16)]),
        "times": archive([
            Entry("dos.txt", b"d"),
            Entry("unix.txt", b"u", extra=struct.pack("<2HBi", 0x5455, 5, 1, 987654321)),
            Entry("ntfs.txt", b"n", extra=struct.pack("<2HBi2HI2H3Q", 0x5455, 5, 1, 5, 10, 32, 0, 1, 24,
                                                      *[126321279215000000] * 3)),
            Entry("never.txt", b"0", date=0, time=0)]),
        "encrypted": archive([Entry("a.txt", TEXT, method=8, password=b"secret"),
                              Entry("b.txt", b"stored", password=b"secret", descriptor="signed"), GOOD]),
        "encrypted-two": archive([Entry("a.txt", TEXT, method=8, password=b"one"),
                                  Entry("b.txt", TEXT, method=8, password=b"two")]),
        "lines": archive([Entry("crlf.txt", b"a\r\nb\r\n\rc\r"), Entry("bytes.bin", b"\0\r\n\1"),
                          Entry("marked.bin", b"\0\r\n", internal=1)]),
        "brackets": archive([Entry("map[1].mis", b"1"), Entry("map1.mis", b"2")]),
        "wildcards": archive([Entry("a?.txt", b"1"), Entry("ab.txt", b"2"),
                              Entry("Юя.txt", b"3", flags=0x800)]),
        "same-names": archive([Entry("a/x y.txt", b"first"), Entry("b/x_y.txt", b"second"),
                               Entry("c/x y.txt", b"third"), Entry("a/x_y.txt", b"fourth")]),
        "folder-by-attribute": archive([Entry("dir", attributes=0x10), Entry("dir/a", b"a")]),
        "duplicates": archive([Entry("a.txt", b"old"), Entry("b.txt", b"b"),
                               Entry("a.txt", b"new")]),
        # The larger ones come first, so that they are ready last.
        "case-only": archive([Entry("a.txt", b"a" * 200000, method=8), Entry("A.txt", b"A"),
                              Entry("Dir/b.txt", b"b" * 200000, method=8),
                              Entry("dir/B.txt", b"B")]),
        # For the fuzzer: entries that its update replaces.
        "fuzz-update": archive([Entry("scripts/a.cs", b"echo();\r\n" * 20, 8), Entry("new", b"x"),
                                Entry("dir/"), Entry("sub/other.cs", b"2", password=b"secret"),
                                Entry("readme", password=b"secret")], b"PK\5\6 inside" + bytes(18)),
        "aes": archive([Entry("a.txt", NOISE, method=99, flags=1), GOOD]),
        "strong-encryption": archive([Entry("a.txt", NOISE, flags=0x41), GOOD]),
        "count-modulo": archive(three, count=65536 + 3),
    }
    for name, data in right.items():
        save("archives", name, data)


def bad_names():
    names = ["../evil.txt", "a/../../evil.txt", "/evil.txt", "C:/evil.txt", "C:e.txt",
             "//host/share/evil.txt", "..\\evil.txt", "\\evil.txt", "\\\\host\\share\\evil.txt",
             "a/..\\../evil.txt", "evil.txt\0.png", "evil\x1b[2J.txt", "evil\n.txt", "NUL",
             "maps/con.png", "aux.tar.gz", "COM1.txt", "prn .txt", "lpt².txt", "a.txt:stream", "evil.",
             "evil ", "evil./a.txt", "a/./evil.txt", "a//evil.txt", "", "a/.orvel-00ff.part",
             "../evil/", "..", "a/..", ".", "a//", "a\tb", "a\x7f", "com0", "LPT9.x", "conin$",
             "CLOCK$.x", "../\u009b31m", "aux .c", "... ", "/", "x" * 300, "folder/" * 600 + "a.txt"]
    save("hostile", "names", archive(
        [Entry(name, b"" if name.endswith("/") else b"evil") for name in names] +
        [Entry("evil", data, made=UNIX, attributes=mode << 16)
         for data, mode in ((b"/etc/passwd", 0o120777), (b"", 0o020666))] + [GOOD]))


def damaged():
    inner = Entry("inner.txt", b"inner", absent=True)
    outer = Entry("outer.bin", inner.header() + inner.data)
    inner.central["offset"] = len(outer.header())
    bad = TEXT[:-1] + b"X"
    text = lambda **fields: archive([Entry("a.txt", TEXT, 8, both=fields), GOOD])  # noqa: E731
    sentinel = lambda extra=b"", **fields: archive([  # noqa: E731
        Entry("a.txt", b"1", extra=extra, central=fields or dict(offset=SENTINEL)), GOOD])
    cases = {
        # A third record points into the data of the first entry, or at the same data.
        "overlap-quoted": archive([outer, GOOD, inner], order=[0, 2, 1]),
        "overlap-same-data": archive([Entry("a.txt", b"shared"), GOOD], order=[0, 0, 1], count=3),
        "overlap-directory": archive([GOOD, Entry("a.txt", b"1234", both=dict(packed=60, size=60))]),
        "overlap-extra": archive([Entry("a.txt", b"1234", local_extra=b"\1\2\0\0" * 8), GOOD]
                                 ).replace(b"\x20\0a.txt", b"\x30\0a.txt", 1),
        "bomb-more-than-declared": text(size=10),
        "bomb-size-forged": text(size=0xFFFFFFF0),
        "bomb-less-than-declared": text(size=len(TEXT) + 1),
        "checksum-wrong": text(crc=1),
        "data-damaged": archive([Entry("a.txt", bad, 8), GOOD]).replace(
            deflate(bad)[:8], b"\xff" * 8, 1),
        "bomb-size-zip64": archive([Entry("a.txt", TEXT, 8, extra=zip64(1 << 62),
                                          central=dict(size=SENTINEL)), GOOD]),
        "stored-sizes-differ": archive([Entry("a.txt", b"1234", both=dict(size=3)), GOOD]),
        "local-name-differs": archive([Entry("a.txt", b"1", local=dict(name=b"b.txt")), GOOD]),
        "local-method-differs": archive([Entry("a.txt", b"1", local=dict(method=8)), GOOD]),
        "local-size-differs": archive([Entry("a.txt", b"1", local=dict(size=2)), GOOD]),
        "local-checksum-differs": archive([Entry("a.txt", b"1", local=dict(crc=2)), GOOD]),
        "local-encryption-differs": archive([Entry("a.txt", b"1" * 20, local=dict(flags=1)),
                                             GOOD]),
        "local-missing": sentinel(offset=3),
        "offset-past-end": sentinel(offset=0x7FFFFFFF),
        "encrypted-too-short": archive([Entry("a.txt", b"1", flags=1), GOOD]),
        "link-then-file": archive([Entry("evil", b"/tmp", made=UNIX, attributes=0o120777 << 16),
                                   Entry("evil/a.txt", b"a"), GOOD]),
        "file-is-folder": archive([Entry("a", b"file"), Entry("a/b.txt", b"b"), GOOD]),
        "folder-is-file": archive([Entry("a/b.txt", b"b"), Entry("a", b"file"), GOOD]),
        "method-unknown": archive([Entry("a.txt", NOISE, both=dict(method=77)), GOOD]),
        "zip64-offset-wrong": archive([GOOD], end64="right", directory_offset=1 << 40),
        "zip64-count-wrong": archive([GOOD], end64="right", count=1 << 40),
        "zip64-size-wrong": archive([GOOD], end64="right", size=(1 << 63) + 1),
        "zip64-extra-missing": sentinel(),
        "zip64-extra-short": sentinel(struct.pack("<2HI", 1, 4, 0)),
        "zip64-extra-past-end": sentinel(struct.pack("<2HQ", 1, 99, 0)),
        "zip64-entry-offset-wrong": sentinel(zip64((1 << 64) - 1)),
        "count-too-small": archive([Entry("a.txt", b"1"), GOOD], count=1),
        "count-too-large": archive([Entry("a.txt", b"1"), GOOD], count=3),
        "directory-offset-wrong": archive([GOOD], directory_offset=0x00F00000),
        "zip64-locator-wrong": archive([GOOD], end64=0x123456789A),
        "end-in-comment": archive([GOOD], comment=b"see " + end_record(0, 0, 0)),
        "archive-in-comment": archive([GOOD], comment=archive([Entry("evil.txt", b"evil")])),
        "comment-cut": archive([GOOD], comment=b"c" * 100)[:-50],
        "bytes-behind": archive([GOOD], behind=b"x" * 33),
        "not-an-archive": b"This is no archive at all. " * 10,
        "nothing": b"",
        "end-only-half": end_record(1, 46, 0)[:15],
    }
    for name, data in cases.items():
        save("hostile", name, data)


def one_entry(folder, name, entry, start=0, data=None):
    """An archive of one entry, with a hole of `start` bytes before it. `data` writes its data."""
    with open(os.path.join(folder, name + ".vl2"), "wb") as file:
        file.seek(start)
        file.write(entry.stored if data is None else entry.header())
        if data is not None:
            data(file)
        at, record = file.tell(), entry.record(0)
        file.write(record + end_record(1, len(record), at, end64_at=at + len(record)))


def large(folder):
    for count, name, end64 in ((65535, "65535", None), (65536, "65536", "right"),
                               (65539, "modulo", None)):  # as writers without zip64 store the count
        save(os.path.abspath(folder), "entries-" + name, archive(
            [Entry("d%d/f%05d" % (i % 50, i)) for i in range(count)], end64=end64))
    one_entry(folder, "offset-4g+1", Entry("good.txt", b"good", central=dict(offset=SENTINEL),
                                           extra=zip64(2**32 + 1)), 2**32 + 1)
    # Entries of zeros, stored (as a hole) and deflated. The deflated data of a chunk that ends with
    # a full flush may be repeated.
    chunk = 64 << 20
    compressor = zlib.compressobj(1, zlib.DEFLATED, -15)
    packed = compressor.compress(bytes(chunk)) + compressor.flush(zlib.Z_FULL_FLUSH)
    end = compressor.flush()
    for name, method, size, crc in (
            ("stored-4g-1", 0, 2**32 - 1, 0x00000000), ("stored-4g+1", 0, 2**32 + 1, 0x41D912FF),
            ("deflated-4g+64m", 8, 2**32 + chunk, 0x0C0B9A78)):
        length = len(packed) * (size // chunk) + len(end) if method else size
        fields = dict(crc=crc, packed=SENTINEL, size=SENTINEL)
        extra = zip64(size, length)

        def data(file, method=method, size=size):
            if method:
                file.writelines([packed] * (size // chunk) + [end])
            else:
                file.seek(size, os.SEEK_CUR)

        one_entry(folder, name, Entry("zeros.bin", method=method, both=fields, extra=extra,
                                      local_extra=extra), data=data)


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "--large":
        large(sys.argv[2])
    else:
        unusual()
        bad_names()
        damaged()
