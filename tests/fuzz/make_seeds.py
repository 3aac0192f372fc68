#!/usr/bin/env python3
"""Writes what the fuzz targets start from: make_seeds.py FOLDER makes FOLDER/archives (with two
bytes in front for the update target in FOLDER/updates) and FOLDER/hives."""

import io
import os
import sys
import zipfile

DATE = (2001, 3, 28, 12, 0, 0)
DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data")
sys.path.insert(0, DATA)
import zipbytes  # noqa: E402


def archive(entries, comment=b"", **options):
    stream = io.BytesIO()
    with zipfile.ZipFile(stream, "w") as out:
        for name, content, method in entries:
            info = zipfile.ZipInfo(name, DATE)
            info.compress_type = method
            with out.open(info, "w", **options) as entry:
                entry.write(content)
        out.comment = comment
    return stream.getvalue()


class Pipe(io.BytesIO):
    """A stream that cannot seek makes zipfile write data descriptors."""

    def seekable(self):
        return False

    def seek(self, *_):
        raise io.UnsupportedOperation

    def tell(self):
        raise io.UnsupportedOperation


def with_descriptors():
    stream = Pipe()
    with zipfile.ZipFile(stream, "w") as out:
        out.writestr(zipfile.ZipInfo("a/b.txt", DATE), b"text " * 9, zipfile.ZIP_DEFLATED)
        out.writestr(zipfile.ZipInfo("c", DATE), b"stored")
    return stream.getvalue()


def archives():
    stored, deflated = zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED
    plain = archive([("scripts/a.cs", b"echo();\r\n" * 20, deflated), ("new", b"x", stored),
                     ("dir/", b"", stored), ("readme.txt", b"", stored)])
    yield "plain", plain
    yield "empty", archive([])
    yield "comment", archive([("x", b"y", stored)], comment=b"PK\5\6 inside" + bytes(18))
    yield "zip64", archive([("big", b"z" * 50, deflated)], force_zip64=True)
    yield "descriptors", with_descriptors()
    yield "in_front", b"#! something in front\n" * 3 + plain
    yield "backslash", plain.replace(b"scripts/a.cs", b"scripts\\a.cs")
    yield "upwards", plain.replace(b"scripts/a.cs", b"../../../a.cs")
    # The password that the targets give.
    yield "encrypted", zipbytes.archive([zipbytes.Entry("a.cs", b"text " * 9, 8, password=b"fuzz"),
                                         zipbytes.Entry("b.cs", b"stored", password=b"fuzz"),
                                         zipbytes.Entry("new", b"x")])
    yield "names", archive([("caf\u00e9/\u6f22.txt", b"1", stored), ("sub/other.cs", b"2", stored)])
    if os.path.isdir(DATA):
        for parent, _, names in os.walk(DATA):
            for name in names:
                path = os.path.join(parent, name)
                if name.endswith((".zip", ".vl2")) and os.path.getsize(path) < 20_000:
                    with open(path, "rb") as file:
                        yield name.replace(".", "_"), file.read()


HIVES = {
    "plain": b'WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n'
             b'[Software\\\\Game] 1695645672\n#time=1d9ef8a1b2c3d4e\n"directory"="C:\\\\Tribes2"\n'
             b'@="default"\n"n"=dword:0000002a\n"b"=hex:01,02,\\\n  03\n"e"=str(2):"%x%"\n'
             b'"m"=hex(7):61,00,00,00,00,00\n\n[a]\n"q"="\\x20ac \\"\\n\\0"\n#link\n',
    "crlf": b'WINE REGISTRY Version 2\r\n\r\n[a] 1\r\n"x"="y"\r\n',
    "damaged": b'[a\n"x"="unclosed\n[Software\\\\Game\n"y"=hex:zz\n[a]\n"=\n"z"=dword:1\n',
}


def write(folder, name, content):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(content)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for name, content in archives():
        write(os.path.join(sys.argv[1], "archives"), name, content)
        write(os.path.join(sys.argv[1], "updates"), name, b"\1\2" + content)
    for name, content in HIVES.items():
        write(os.path.join(sys.argv[1], "hives"), name, content)


if __name__ == "__main__":
    main()
