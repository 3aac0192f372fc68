#!/usr/bin/env python3
"""Writes what the fuzz targets start from: make_seeds.py FOLDER makes FOLDER/archives (with two
bytes in front for the update target in FOLDER/updates) and FOLDER/hives."""

import sys
from pathlib import Path

DATA = Path(__file__).resolve().parent.parent / "data"
sys.path.insert(0, str(DATA))
from zipbytes import Entry, archive  # noqa: E402


def archives():
    """Entries that the update target replaces, and the archives of the other tests."""
    yield "replaced", archive([Entry("scripts/a.cs", b"echo();\r\n" * 20, 8), Entry("new", b"x"),
                               Entry("dir/"), Entry("sub/other.cs", b"2", password=b"secret"),
                               Entry("readme", password=b"secret")], b"PK\5\6 inside" + bytes(18))
    for path in DATA.rglob("*.vl2"):
        if path.stat().st_size < 20_000:
            yield path.stem, path.read_bytes()


HIVES = {
    "plain": b'WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n'
             b'[Software\\\\Game] 1695645672\n#time=1d9ef8a1b2c3d4e\n"directory"="C:\\\\Tribes2"\n'
             b'@="default"\n"n"=dword:0000002a\n"b"=hex:01,02,\\\n  03\n"e"=str(2):"%x%"\n'
             b'"m"=hex(7):61,00,00,00,00,00\n\n[a]\n"q"="\\x20ac \\"\\n\\0"\n#link\n',
    "crlf": b'WINE REGISTRY Version 2\r\n\r\n[a] 1\r\n"x"="y"\r\n',
    "damaged": b'[a\n"x"="unclosed\n[Software\\\\Game\n"y"=hex:zz\n[a]\n"=\n"z"=dword:1\n',
}


def write(folder, name, content):
    path = Path(sys.argv[1], folder, name)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for title, data in archives():
        write("archives", title, data)
        write("updates", title, b"\1\2" + data)
    for title, data in HIVES.items():
        write("hives", title, data)
