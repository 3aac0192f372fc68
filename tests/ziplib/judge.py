"""What other tools make of an archive, for the tests of the zip libraries.

judge.py check ARCHIVE [PASSWORD]    every entry is read whole by zipfile, 7-Zip and bsdtar
judge.py list ARCHIVE                one line an entry: name, size, method, flags, DOS time, attributes
judge.py read ARCHIVE NAME           an entry's bytes
judge.py kept OLD NEW [NAME...]      all entries but the named ones are byte for byte as they were
judge.py make RECIPE ARCHIVE         an archive of a kind that others make
"""
import io
import struct
import subprocess
import sys
import zipfile
import zlib


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
            print("%s|%d|%d|%d|%04d-%02d-%02d %02d:%02d:%02d|%d|%d|%d" % (
                (i.filename, i.file_size, i.compress_type, i.flag_bits) + i.date_time +
                (i.external_attr, i.create_system * 256 + i.create_version, len(i.extra))))


def kept(old_path, new_path, changed):
    old, new = open(old_path, "rb").read(), open(new_path, "rb").read()
    old_comment, old_base, old_entries = parse(old)
    new_comment, new_base, new_entries = parse(new)
    assert old_comment == new_comment and old_base == new_base
    assert old[:old_base] == new[:new_base]
    changed = {name.encode() for name in changed}
    was = [e for e in old_entries if e[1] not in changed]
    now = [e for e in new_entries if e[1] not in changed]
    assert [e[0] for e in was] == [e[0] for e in now], "records"
    for (raw, name, before), (_, _, after) in zip(was, now):
        assert stored_bytes(old, raw, before) == stored_bytes(new, raw, after), name


def entry(name, data, method=0, flags=0, packed=None, crc=None, extra=b"", comment=b"",
          attributes=0, descriptor=b""):
    """Local part and central record without its offset."""
    packed = data if packed is None else packed
    crc = zlib.crc32(data) if crc is None else crc
    head = struct.pack("<HHHHHIIIHH", 20, flags, method, 0x6000, 0x2A21, crc, len(packed),
                       len(data), len(name), len(extra))
    local = b"PK\3\4" + head + name + extra + packed + descriptor
    central = b"PK\1\2" + struct.pack("<H", 20) + head + struct.pack(
        "<HHHI", len(comment), 0, 0, attributes)
    return local, central, name + extra + comment


def assemble(entries, comment=b"", prefix=b""):
    out, directory = bytearray(prefix), bytearray()
    for local, central, rest in entries:
        directory += central + struct.pack("<I", len(out) - len(prefix)) + rest
        out += local
    end = b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, len(entries), len(entries), len(directory),
                                  len(out) - len(prefix), len(comment))
    return out + directory + end + comment


def deflate(data):
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


def recipe(kind):
    text = b"some text of an entry\r\n" * 20
    keep = entry(b"keep.txt", text, 8, packed=deflate(text), extra=b"\x55\x54\x05\0\1\0\0\0\0",
                 comment=b"kept comment")
    edit = entry(b"edit.txt", b"before")
    last = entry(b"sub/last.bin", bytes(range(256)))
    if kind == "plain":
        return assemble([keep, edit, last])
    if kind == "prefix":
        return assemble([keep, edit, last], b"the comment", b"MZ in front of it all" * 30)
    if kind == "descriptor":
        packed = deflate(text)
        tail = b"PK\7\x08" + struct.pack("<III", zlib.crc32(text), len(packed), len(text))
        streamed = entry(b"streamed.txt", text, 8, 8, packed, descriptor=tail)
        return assemble([streamed, edit, keep, last])
    if kind == "unreadable":
        aes = entry(b"secret.bin", b"", 99, 1, b"\xAA" * 60, extra=b"\1\x99\7\0\2\0AE\3\x08\0")
        odd = entry(b"odd.bin", b"", 97, 0, b"\xBB" * 40)
        return assemble([aes, edit, odd, last])
    if kind == "duplicates":
        return assemble([edit, keep, entry(b"edit.txt", b"the live one"), last])
    if kind == "dotted":
        return assemble([entry(b"./", b"", attributes=0x10), keep, entry(b"./sub/edit.txt", b"before"),
                         last])
    if kind == "empty prefix":
        # The offsets count from the file's start, as some tools write them.
        start = b"MZ in front of it all" * 30
        end = bytearray(assemble([]))
        end[16:20] = struct.pack("<I", len(start))
        return start + end
    if kind == "backslash":
        return assemble([entry(b"sub\\edit.txt", b"before"), keep, last])
    if kind == "cp437":
        return assemble([entry(b"\x81ber.txt", b"before"), keep])
    if kind == "case":
        return assemble([entry(b"Sub/Edit.TXT", b"before"), keep])
    if kind == "odd order":
        entries = [keep, edit, last]
        places, out = [], b""
        for local, _, _ in reversed(entries):
            places.insert(0, len(out))
            out += local + b"a gap"
        directory = b"".join(c + struct.pack("<I", p) + r
                             for (_, c, r), p in zip(entries, places))
        return out + directory + b"PK\5\6" + struct.pack(
            "<HHHHIIH", 0, 0, 3, 3, len(directory), len(out), 0)
    if kind == "zip64":
        stream = io.BytesIO()
        with zipfile.ZipFile(stream, "w") as archive:
            with archive.open("keep.bin", "w", force_zip64=True) as out:
                out.write(b"k" * 1000)
            archive.writestr("edit.txt", "before")
        return stream.getvalue()
    if kind == "shared":
        # Two records for the same bytes; one of them is to be replaced.
        data = assemble([edit, last])
        other = edit[1] + struct.pack("<I", 0) + b"same.txt"
        end = data.rindex(b"PK\5\6")
        size, start = struct.unpack("<II", data[end + 12:end + 20])
        return data[:end] + other + b"PK\5\6" + struct.pack(
            "<HHHHIIH", 0, 0, 3, 3, size + len(other), start, 0)
    if kind == "many":
        return assemble([entry(b"%d" % i, b"") for i in range(65500)])
    if kind == "cut":
        return assemble([keep, edit, last])[:-60]
    if kind == "data missing":
        return assemble([edit, entry(b"gone.bin", b"x" * 9000, packed=b"x")[0:1] +
                         entry(b"gone.bin", b"x" * 9000)[1:]])
    if kind == "not an archive":
        return b"this is a letter, not an archive\n" * 10
    raise SystemExit("no such recipe: " + kind)


def main(arguments):
    verb, path = arguments[0], arguments[1]
    if verb == "check":
        check(*arguments[1:])
    elif verb == "list":
        list_entries(path)
    elif verb == "read":
        with zipfile.ZipFile(path) as archive:
            if len(arguments) > 3:
                archive.setpassword(arguments[3].encode())
            sys.stdout.buffer.write(archive.read(arguments[2]))
    elif verb == "kept":
        kept(path, arguments[2], arguments[3:])
    elif verb == "make":
        with open(arguments[2], "wb") as out:
            out.write(recipe(path))


main(sys.argv[1:])
