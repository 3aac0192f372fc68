#!/usr/bin/env python3
"""Makes the archives of the tests: those of other tools in archives/, those with a defect in
hostile/. The same bytes each time, but for two that their tools never make the same (7-Zip's salt,
bsdtar's record of the moment): these are only made where they are missing. With --large FOLDER, makes there what is too large to be kept."""

import io
import os
import struct
import subprocess
import sys
import tempfile
import zipfile
import zlib

from zipbytes import UNIX, Entry, archive, deflate, end64_records, end_record

HERE = os.path.dirname(os.path.abspath(__file__))
TEXT = b"datablock ShapeBase(Tree) {\r\n   shapeFile = \"tree.dts\";\r\n};\r\n" * 40
NOISE = bytes((i * i * 31 + i // 7) & 255 for i in range(3000))
GOOD = Entry("good.txt", b"good")
ZERO = b"\x9d\x0a\xd9\x6d"


def save(folder, name, data):
    path = os.path.join(HERE, folder, name + ".vl2")
    with open(path, "wb") as file:
        file.write(data)


# --- archives of other tools -------------------------------------------------------------------

def sample_tree(folder):
    """A few files as a map maker has them, with fixed times."""
    files = {"readme.txt": TEXT, "maps/base/a.png": NOISE, "maps/base/b.mis": TEXT[:300],
             "scripts/deep/er/x.cs": b"", "sound/w.wav": NOISE * 3}
    for name, data in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        os.chmod(path, 0o644)
        os.utime(path, (987514662, 987514662))
    for root, folders, _ in os.walk(folder):
        os.chmod(root, 0o755)
        os.utime(root, (987514662, 987514662))
    return sorted(files)


def python_zip(folder, names):
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as target:
        for name in ["maps/", "maps/base/"] + names:
            info = zipfile.ZipInfo(name, (2001, 4, 17, 13, 37, 42))
            info.compress_type = zipfile.ZIP_DEFLATED
            data = b"" if name.endswith("/") else open(os.path.join(folder, name), "rb").read()
            target.writestr(info, data)
    return out.getvalue()


def by_tools():
    with tempfile.TemporaryDirectory() as folder:
        tree = os.path.join(folder, "tree")
        os.mkdir(tree)
        names = sample_tree(tree)
        save("archives", "python-zipfile", python_zip(tree, names))
        environment = dict(os.environ, TZ="UTC")
        run = lambda *command: subprocess.run(command, cwd=tree, check=True, env=environment,
                                              stdout=subprocess.DEVNULL)
        made = os.path.join(folder, "x.zip")
        tops = ["maps", "readme.txt", "scripts", "sound"]
        for name, command in {
                "7zip": ["7z", "a", "-tzip", "-mx5", "-mtc=off", "-mta=off", made] + tops,
                "7zip-stored": ["7z", "a", "-tzip", "-mx0", "-mtc=off", "-mta=off", made] + tops,
        }.items():
            run(*command)
            save("archives", name, open(made, "rb").read())
            os.remove(made)
        streamed = os.path.join(HERE, "archives", "bsdtar-descriptors.vl2")
        if not os.path.exists(streamed):
            run("bsdtar", "--format=zip", "--uid", "0", "--gid", "0", "-cf", streamed, *tops)
        whole = os.path.join(HERE, "archives", "bsdtar-whole-folder.vl2")
        if not os.path.exists(whole):
            run("bsdtar", "--format=zip", "--uid", "0", "--gid", "0", "-cf", whole, ".")
        encrypted = os.path.join(HERE, "archives", "7zip-encrypted.vl2")
        if not os.path.exists(encrypted):
            run("7z", "a", "-tzip", "-mem=ZipCrypto", "-psecret", encrypted, "readme.txt",
                "maps/base/a.png")
        for method in ("bzip2", "lzma"):
            out = io.BytesIO()
            with zipfile.ZipFile(out, "w") as target:
                info = zipfile.ZipInfo("odd.txt", (2001, 4, 17, 13, 37, 42))
                target.writestr(info, TEXT, getattr(zipfile, "ZIP_" + method.upper()))
                info = zipfile.ZipInfo("good.txt", (2001, 4, 17, 13, 37, 42))
                target.writestr(info, b"good")
            save("archives", "method-" + method, out.getvalue())


# --- archives that are unusual but right -------------------------------------------------------

def times(unix=None, ntfs=None):
    extra = b""
    if unix is not None:
        extra += struct.pack("<2HBi", 0x5455, 5, 1, unix)
    if ntfs is not None:
        extra += struct.pack("<2HI2H3Q", 0x000A, 32, 0, 1, 24, ntfs, ntfs, ntfs)
    return extra


def unusual():
    three = [Entry("a.txt", b"first"), Entry("dir/b.txt", TEXT, method=8), Entry("c.png", NOISE)]
    right = {
        "backslashes": archive([Entry("maps\\base\\a.png", NOISE), Entry("maps\\b.txt", b"b"),
                                Entry("empty\\")]),
        "names-cp437": archive([Entry(b"caf\x82.txt", b"1"), Entry(b"\x9a\xe1.txt", b"2")]),
        "names-utf8": archive([Entry("café.txt", b"1", flags=0x800), Entry("Привет.txt", b"2")]),
        "front-shifted": archive(three, front=b"#!/bin/sh\nexit\n" * 20),
        "front-counted": archive(three, front=b"#!/bin/sh\nexit\n" * 20, shift=False),
        "gaps": archive(three, gap=b"\0" * 17),
        "odd-order": archive(three, order=[2, 0, 1]),
        "empty": archive([]),
        "comment-65535": archive(three, comment=b"c" * 65535),
        "zip64-end": archive(three, zip64="right"),
        "zip64-sizes": archive([Entry(
            "big.txt", TEXT, method=8,
            local=dict(packed=0xFFFFFFFF, size=0xFFFFFFFF),
            local_extra=struct.pack("<2H2Q", 1, 16, len(TEXT), len(deflate(TEXT))),
            extra=struct.pack("<2H2Q", 1, 16, len(TEXT), len(deflate(TEXT))),
            central=dict(packed=0xFFFFFFFF, size=0xFFFFFFFF)), GOOD]),
        "descriptor-signed": archive([Entry("a.txt", TEXT, method=8, descriptor="signed"), GOOD]),
        "descriptor-plain": archive([Entry("a.txt", TEXT, method=8, descriptor="plain"), GOOD]),
        # Four bytes whose checksum is 0, and sizes of eight bytes behind the data.
        "descriptor-zero-checksum": archive([
            Entry("a.txt", ZERO, descriptor="signed"), Entry("b.txt", ZERO, descriptor="plain"),
            GOOD]),
        "descriptor-zip64": archive([Entry(
            "a.txt", TEXT, method=8, descriptor="long", local_extra=struct.pack("<2H2Q", 1, 16, 0, 0),
            local=dict(packed=0xFFFFFFFF, size=0xFFFFFFFF)), GOOD]),
        "deflated-empty": archive([Entry("a.txt", b"", method=8), GOOD]),
        "attributes": archive([
            Entry("readonly.txt", b"r", attributes=0x01), Entry("hidden.txt", b"h", attributes=2),
            Entry("system.txt", b"s", attributes=0x26), Entry("archive.txt", b"a", attributes=32),
            Entry("unix.txt", b"u", made=UNIX, attributes=0o100444 << 16),
            Entry("plain.txt", b"p", made=UNIX, attributes=0o100644 << 16)]),
        "times": archive([Entry("dos.txt", b"d"), Entry("unix.txt", b"u", extra=times(987654321)),
                          Entry("ntfs.txt", b"n", extra=times(5, 126321279215000000)),
                          Entry("never.txt", b"0", date=0, time=0)]),
        "encrypted": archive([Entry("a.txt", TEXT, method=8, password=b"secret"),
                              Entry("b.txt", b"stored", password=b"secret"), GOOD]),
        "encrypted-two": archive([Entry("a.txt", TEXT, method=8, password=b"one"),
                                  Entry("b.txt", TEXT, method=8, password=b"two")]),
        "lines": archive([Entry("crlf.txt", b"a\r\nb\r\n\rc\r"), Entry("bytes.bin", b"\0\r\n\1"),
                          Entry("marked.bin", b"\0\r\n", internal=1)]),
        "blanks": archive([Entry("my maps/the map.mis", b"m")]),
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
        "aes": archive([Entry("a.txt", NOISE, method=99, flags=1), GOOD]),
        "strong-encryption": archive([Entry("a.txt", NOISE, flags=0x41), GOOD]),
        "count-modulo": archive(three, count=65536 + 3),
    }
    for name, data in right.items():
        save("archives", name, data)


# --- archives that want to do harm, or that are damaged ----------------------------------------

def bad_names():
    names = {
        "name-dotdot": "../evil.txt", "name-dotdot-inside": "a/../../evil.txt",
        "name-absolute": "/evil.txt", "name-drive": "C:/evil.txt", "name-drive-relative": "C:e.txt",
        "name-unc": "//host/share/evil.txt", "name-backslash-dotdot": "..\\evil.txt",
        "name-backslash-absolute": "\\evil.txt", "name-backslash-unc": "\\\\host\\share\\evil.txt",
        "name-mixed-dotdot": "a/..\\../evil.txt", "name-nul": "evil.txt\0.png",
        "name-control": "evil\x1b[2J.txt", "name-newline": "evil\n.txt",
        "name-device": "NUL", "name-device-extension": "maps/con.png",
        "name-device-extensions": "aux.tar.gz", "name-device-port": "COM1.txt",
        "name-device-blank": "prn .txt", "name-device-superscript": "lpt².txt",
        "name-stream": "a.txt:stream", "name-trailing-dot": "evil.",
        "name-trailing-blank": "evil ", "name-folder-trailing-dot": "evil./a.txt",
        "name-dot": "a/./evil.txt", "name-double-separator": "a//evil.txt", "name-empty": "",
        "name-reserved": "a/.orvel-00ff.part", "name-folder-dotdot": "../evil/",
    }
    for name, stored in names.items():
        save("hostile", name, archive([Entry(stored, b"" if stored.endswith("/") else b"evil"),
                                       GOOD]))
    save("hostile", "name-too-long", archive([Entry("x" * 300, b"evil"), GOOD]))
    save("hostile", "path-too-long", archive([Entry("folder/" * 600 + "a.txt", b"evil"), GOOD]))


def damaged():
    inner = Entry("inner.txt", b"inner")
    outer = Entry("outer.bin", inner.local_bytes() + inner.packed)
    quoted = archive([outer, GOOD])
    # A third record points into the data of the first entry.
    at = quoted.index(inner.local_bytes())
    directory = quoted.index(b"PK\x01\x02")
    body = quoted[:directory]
    records = [outer.central_bytes(0), inner.central_bytes(at),
               GOOD.central_bytes(len(outer.local_bytes() + outer.packed))]
    central = b"".join(records)
    quoted = body + central + end_record(3, len(central), directory)
    shared = Entry("a.txt", b"shared")
    twice = shared.local_bytes() + shared.packed
    central = shared.central_bytes(0) * 2
    twice += GOOD.local_bytes() + GOOD.packed
    records = central + GOOD.central_bytes(len(shared.local_bytes() + shared.packed))
    twice += records + end_record(3, len(records), len(twice))
    bad = TEXT[:-1] + b"X"
    cases = {
        "overlap-quoted": quoted,
        "overlap-same-data": twice,
        "overlap-directory": archive([GOOD, Entry("a.txt", b"1234", local=dict(packed=60, size=60),
                                                  central=dict(packed=60, size=60))]),
        "overlap-extra": archive([Entry("a.txt", b"1234", local_extra=b"\1\2\0\0" * 8), GOOD]
                                 ).replace(b"\x20\0a.txt", b"\x30\0a.txt", 1),
        "bomb-more-than-told": archive([Entry("a.txt", TEXT, method=8, local=dict(size=10),
                                              central=dict(size=10)), GOOD]),
        "bomb-size-forged": archive([Entry("a.txt", TEXT, method=8, local=dict(size=0xFFFFFFF0),
                                           central=dict(size=0xFFFFFFF0)), GOOD]),
        "bomb-less-than-told": archive([Entry("a.txt", TEXT, method=8,
                                              local=dict(size=len(TEXT) + 1),
                                              central=dict(size=len(TEXT) + 1)), GOOD]),
        "checksum-wrong": archive([Entry("a.txt", TEXT, method=8, local=dict(crc=1),
                                         central=dict(crc=1)), GOOD]),
        "data-damaged": archive([Entry("a.txt", bad, method=8), GOOD]).replace(
            deflate(bad)[:8], b"\xff" * 8, 1),
        "bomb-size-zip64": archive([Entry(
            "a.txt", TEXT, method=8, extra=struct.pack("<2HQ", 1, 8, 1 << 62),
            central=dict(size=0xFFFFFFFF)), GOOD]),
        "stored-sizes-differ": archive([Entry("a.txt", b"1234", local=dict(size=3),
                                              central=dict(size=3)), GOOD]),
        "local-name-differs": archive([Entry("a.txt", b"1", local=dict(name=b"b.txt")), GOOD]),
        "local-method-differs": archive([Entry("a.txt", b"1", local=dict(method=8)), GOOD]),
        "local-size-differs": archive([Entry("a.txt", b"1", local=dict(size=2)), GOOD]),
        "local-checksum-differs": archive([Entry("a.txt", b"1", local=dict(crc=2)), GOOD]),
        "local-encryption-differs": archive([Entry("a.txt", b"1" * 20, local=dict(flags=1)),
                                             GOOD]),
        "local-missing": archive([Entry("a.txt", b"1", central=dict(offset=3)), GOOD]),
        "offset-past-end": archive([Entry("a.txt", b"1", central=dict(offset=0x7FFFFFFF)), GOOD]),
        "encrypted-too-short": archive([Entry("a.txt", b"1", flags=1), GOOD]),
        "link": archive([Entry("evil", b"/etc/passwd", made=UNIX, attributes=0o120777 << 16),
                         GOOD]),
        "link-then-file": archive([Entry("evil", b"/tmp", made=UNIX, attributes=0o120777 << 16),
                                   Entry("evil/a.txt", b"a"), GOOD]),
        "device-node": archive([Entry("evil", b"", made=UNIX, attributes=0o020666 << 16), GOOD]),
        "file-is-folder": archive([Entry("a", b"file"), Entry("a/b.txt", b"b"), GOOD]),
        "folder-is-file": archive([Entry("a/b.txt", b"b"), Entry("a", b"file"), GOOD]),
        "method-unknown": archive([Entry("a.txt", NOISE, local=dict(method=77),
                                         central=dict(method=77)), GOOD]),
        "zip64-offset-wrong": archive([GOOD], zip64="right", directory_offset=1 << 40),
        "zip64-count-wrong": archive([GOOD], zip64="right", count=1 << 40),
        "zip64-size-wrong": archive([GOOD], zip64="right", size=(1 << 63) + 1),
        "zip64-extra-missing": archive([Entry("a.txt", b"1", central=dict(offset=0xFFFFFFFF)), GOOD]),
        "zip64-extra-short": archive([Entry("a.txt", b"1", extra=struct.pack("<2HI", 1, 4, 0),
                                            central=dict(offset=0xFFFFFFFF)), GOOD]),
        "zip64-extra-past-end": archive([Entry("a.txt", b"1", extra=struct.pack("<2HQ", 1, 99, 0),
                                               central=dict(offset=0xFFFFFFFF)), GOOD]),
        "zip64-entry-offset-wrong": archive([Entry(
            "a.txt", b"1", extra=struct.pack("<2HQ", 1, 8, (1 << 64) - 1),
            central=dict(offset=0xFFFFFFFF)), GOOD]),
        "count-too-small": archive([Entry("a.txt", b"1"), GOOD], count=1),
        "count-too-large": archive([Entry("a.txt", b"1"), GOOD], count=3),
        "directory-offset-wrong": archive([GOOD], directory_offset=0x00F00000),
        "zip64-locator-wrong": archive([GOOD], zip64=0x123456789A),
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


# --- too large to keep --------------------------------------------------------------------------

def zeros(folder):
    """Entries of zeros, stored (as a hole) and deflated, with sizes around 4 GiB and past it."""
    piece = 64 << 20
    packer = zlib.compressobj(1, zlib.DEFLATED, -15)
    # Flushed like this, one piece's data may stand behind itself.
    packed = packer.compress(bytes(piece)) + packer.flush(zlib.Z_FULL_FLUSH)
    end = packer.flush()
    five = 5 << 30
    for name, method, size, crc in (
            ("stored-4g-2", 0, 2**32 - 2, 0x0F6A7026), ("stored-4g-1", 0, 2**32 - 1, 0x00000000),
            ("stored-4g", 0, 2**32, 0xD202EF8D), ("stored-4g+1", 0, 2**32 + 1, 0x41D912FF),
            ("stored-5g", 0, five, 0x193838C3), ("deflated-5g", 8, five, 0x193838C3)):
        length = size if method == 0 else len(packed) * (size // piece) + len(end)
        # The sizes that fit stand where they always do.
        short = dict(crc=crc, packed=min(length, 0xFFFFFFFF), size=min(size, 0xFFFFFFFF))
        extra = b""
        if size >= 0xFFFFFFFF:
            short.update(packed=0xFFFFFFFF, size=0xFFFFFFFF)
            extra = struct.pack("<2H2Q", 1, 16, size, length)
        entry = Entry("zeros.bin", method=method, local=short, central=short, extra=extra,
                      local_extra=extra)
        with open(os.path.join(folder, name + ".vl2"), "wb") as file:
            file.write(entry.local_bytes())
            if method == 0:
                file.seek(size, os.SEEK_CUR)
            else:
                for _ in range(size // piece):
                    file.write(packed)
                file.write(end)
            at = file.tell()
            record = entry.central_bytes(0)
            file.write(record + end64_records(1, len(record), at, at + len(record)))
            file.write(end_record(1, len(record), 0xFFFFFFFF))


def large(folder):
    for count in (65535, 65536, 70000):
        with zipfile.ZipFile(os.path.join(folder, "entries-%d.vl2" % count), "w") as target:
            for i in range(count):
                target.writestr(zipfile.ZipInfo("d%d/f%05d" % (i % 50, i)), b"")
    # The number of entries as writers tell it that know no 64-bit records.
    path = os.path.join(folder, "entries-modulo.vl2")
    body, central = bytearray(), bytearray()
    for i in range(65539):
        entry = Entry("f%05d" % i)
        central += entry.central_bytes(len(body))
        body += entry.local_bytes()
    with open(path, "wb") as file:
        file.write(body + central + end_record(65539, len(central), len(body)))
    zeros(folder)
    # Holes instead of data: entries that start around 4 GiB.
    for name, start in {"offset-4g-2": 2**32 - 2, "offset-4g-1": 2**32 - 1, "offset-4g": 2**32,
                        "offset-4g+1": 2**32 + 1}.items():
        entry = Entry("good.txt", b"good", central=dict(offset=0xFFFFFFFF), extra=struct.pack(
            "<2HQ", 1, 8, start))
        with open(os.path.join(folder, name + ".vl2"), "wb") as file:
            file.seek(start)
            file.write(entry.local_bytes() + entry.packed)
            at = file.tell()
            record = entry.central_bytes(0)
            file.write(record)
            file.write(end64_records(1, len(record), at, at + len(record)))
            file.write(end_record(1, len(record), 0xFFFFFFFF))


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "--large":
        large(sys.argv[2])
    else:
        for kind in ("archives", "hostile"):
            os.makedirs(os.path.join(HERE, kind), exist_ok=True)
        by_tools()
        unusual()
        bad_names()
        damaged()
