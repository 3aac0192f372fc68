"""What other tools make of an archive, for the tests of the zip libraries.

judge.py check ARCHIVE [PASSWORD]    every entry is read whole by zipfile, 7-Zip and bsdtar
judge.py list ARCHIVE                one line an entry: name, size, method, flags, DOS time,
                                     attributes, version, length of the extra fields, internal attributes
judge.py read ARCHIVE NAME           an entry's bytes
judge.py kept OLD NEW [NAME...]      all entries but the named ones are byte for byte as they were, and
                                     those that are there still have their comments
judge.py make RECIPE ARCHIVE         an archive of a kind that others make
"""
import os
import struct
import subprocess
import sys
import zipfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data"))
from zipbytes import Entry, archive  # noqa: E402


def parse(data):
    """Comment, prefix length and (raw record without offset, name, local offset) of each entry."""
    end = data.rindex(b"PK\5\6")
    count, size, start, comment = struct.unpack("<HIIH", data[end + 10:end + 22])
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


def check(path, password=None):
    with zipfile.ZipFile(path) as archive:
        if password:
            archive.setpassword(password.encode())
        assert archive.testzip() is None
        names = len(archive.infolist())
    seven = subprocess.run(["7z", "t", "-p" + (password or ""), path], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT)
    # 7-Zip calls an archive without entries fine, too.
    assert seven.returncode == 0 and b"Warning" not in seven.stdout, seven.stdout.decode()
    if names and not password:
        tar = subprocess.run(["bsdtar", "-tvf", path], stdout=subprocess.PIPE)
        assert tar.returncode == 0 and tar.stdout.count(b"\n") == names, tar.stdout


def list_entries(path):
    with zipfile.ZipFile(path) as archive:
        for i in archive.infolist():
            print("%s|%d|%d|%d|%04d-%02d-%02d %02d:%02d:%02d|%d|%d|%d|%d" % (
                (i.filename, i.file_size, i.compress_type, i.flag_bits) + i.date_time +
                (i.external_attr, i.create_system * 256 + i.create_version, len(i.extra),
                 i.internal_attr)))


def read(path, name, password=""):
    with zipfile.ZipFile(path) as source:
        source.setpassword(password.encode())
        sys.stdout.buffer.write(source.read(name))


def kept(old_path, new_path, *changed):
    old, new = open(old_path, "rb").read(), open(new_path, "rb").read()
    old_comment, old_base, old_entries = parse(old)
    new_comment, new_base, new_entries = parse(new)
    assert old_comment == new_comment and old_base == new_base
    assert old[:old_base] == new[:new_base]
    changed = {name.encode(code, "replace") for name in changed for code in ("utf-8", "cp437")}
    said, says = comments(old_entries, changed), comments(new_entries, changed)
    assert all(says[name] == said.get(name, b"") for name in says), "comments"
    was = [e for e in old_entries if e[1] not in changed]
    now = [e for e in new_entries if e[1] not in changed]
    assert [e[0] for e in was] == [e[0] for e in now], "records"
    for (raw, name, before), (_, _, after) in zip(was, now):
        assert stored_bytes(old, raw, before) == stored_bytes(new, raw, after), name


def make(recipe, path):
    with open(path, "wb") as out:
        out.write(RECIPES[recipe]())


TEXT = b"some text of an entry\r\n" * 20
FRONT = b"MZ in front of it all" * 30
MOMENT = dict(extra=b"\x55\x54\5\0\1\0\0\0\0", local_extra=b"\x55\x54\5\0\1\0\0\0\0")
AES = dict(extra=b"\1\x99\7\0\2\0AE\3\x08\0", local_extra=b"\1\x99\7\0\2\0AE\3\x08\0")
LONG = struct.pack("<2H2Q", 1, 16, 1000, 1000)
IN_EXTRA = dict(packed=0xFFFFFFFF, size=0xFFFFFFFF)
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
        [Entry("keep.bin", b"k" * 1000, local=IN_EXTRA, local_extra=LONG), EDIT], zip64="right"),
    # Two records for the same bytes; one of them is to be replaced.
    "shared": lambda: archive([EDIT, LAST, Entry("same.txt", b"before", central=dict(offset=0))]),
    "many": lambda: archive([Entry("%d" % number) for number in range(65500)]),
    "data missing": lambda: archive(
        [EDIT, Entry("gone.bin", b"x", local=dict(size=9000), central=dict(packed=9000, size=9000))]),
    "not an archive": lambda: b"this is a letter, not an archive\n" * 10,
}

if __name__ == "__main__":
    {"check": check, "list": list_entries, "read": read, "kept": kept, "make": make}[sys.argv[1]](
        *sys.argv[2:])
