#!/usr/bin/env python3
"""Creates the benchmark archives: the same arguments give the same bytes on every machine.

    make_archive.py game FILE.vl2       about 4,500 files of a game's types, 300 MB uncompressed
    make_archive.py small FILE.vl2 N    N files of 40 to 700 bytes in folders of 200
    make_archive.py large FILE.vl2      one file of 5 GiB and one of 11 bytes
"""

import hashlib
import random
import struct
import sys
import zipfile

DATE = (2001, 3, 28, 12, 0, 0)
WORDS = ("function datablock new echo %client %obj $Host::Map position rotation scale "
         "PlayerData ItemData TriggerData interior terrain skyVisible fogDistance return if else "
         "while for schedule commandToClient messageAll team flag stand generator turret").split()


def text(rng, size):
    lines, length = [], 0
    while length < size:
        line = "   " * rng.randrange(3) + " ".join(rng.choices(WORDS, k=rng.randrange(2, 9)))
        line += " = %.4f;\r\n" % rng.uniform(-2000, 2000)
        lines.append(line)
        length += len(line)
    return "".join(lines).encode()[:size]


def noise(rng, size):
    return rng.randbytes(size)


def picture(rng, size):
    # Compressed picture data is incompressible.
    return b"\x89PNG\r\n\x1a\n" + noise(rng, size - 8)


def photo(rng, size):
    return b"\xff\xd8\xff\xe0\0\x10JFIF\0" + noise(rng, size - 11)


def sound(rng, size):
    # A low-frequency wave with noise: compresses slightly.
    samples, value = bytearray(), 0
    block = bytes(rng.choices(range(256), weights=[1 + 40 * (abs(i - 128) < 24) for i in range(256)],
                              k=4096))
    while len(samples) < size:
        value = (value + rng.randrange(7)) % 256
        samples += bytes((b + value) % 256 for b in block[:512]) + block
    return b"RIFF" + struct.pack("<I", size) + b"WAVEfmt " + bytes(samples[:size - 16])


def shape(rng, size):
    # Vertices with similar coordinates, then ascending indexes.
    points = [rng.uniform(-20, 20) for _ in range(200)]
    out = bytearray()
    while len(out) < size:
        out += struct.pack("<12f", *(points[rng.randrange(200)] for _ in range(12)))
        start = rng.randrange(60000)
        out += struct.pack("<24H", *(start + i for i in range(24)))
    return bytes(out[:size])


def terrain(rng, size):
    height, out = 20000, bytearray()
    steps = [rng.randrange(-60, 61) for _ in range(997)]
    while len(out) < size:
        height = (height + steps[(len(out) // 2 + height) % 997]) % 65536
        out += struct.pack("<H", height)
    return bytes(out[:size])


# folder, extension, files, smallest, largest, content
KINDS = (
    ("scripts", "cs", 420, 600, 60_000, text),
    ("scripts/autoexec", "cs", 60, 200, 9_000, text),
    ("missions", "mis", 160, 20_000, 180_000, text),
    ("gui", "gui", 220, 2_000, 30_000, text),
    ("missions/notes", "txt", 150, 200, 5_000, text),
    ("textures/skins", "png", 900, 8_000, 140_000, picture),
    ("textures/terrain", "png", 500, 12_000, 160_000, picture),
    ("textures/gui", "png", 600, 900, 30_000, picture),
    ("textures/sky", "jpg", 240, 20_000, 200_000, photo),
    ("audio/fx", "wav", 520, 20_000, 240_000, sound),
    ("audio/voice", "wav", 260, 20_000, 120_000, sound),
    ("shapes", "dts", 300, 20_000, 260_000, shape),
    ("interiors", "dif", 130, 60_000, 640_000, shape),
    ("terrains", "ter", 60, 240_000, 300_000, terrain),
)


def info(name):
    entry = zipfile.ZipInfo(name, DATE)
    entry.compress_type = zipfile.ZIP_DEFLATED
    entry.create_system = 0
    entry.external_attr = 0x20
    return entry


def make_game(path, share=1):
    """The game-like archive; `share` divides the number of its files."""
    with zipfile.ZipFile(path, "w") as archive:
        for folder, extension, count, smallest, largest, content in KINDS:
            for number in range(count // share):
                name = "%s/%s_%04d.%s" % (folder, folder.split("/")[-1], number, extension)
                rng = random.Random(hashlib.sha256(name.encode()).digest())
                size = rng.randrange(smallest, largest) * 5 // 6
                archive.writestr(info(name), content(rng, size), compresslevel=6)


def make_small(path, count):
    base = text(random.Random(7), 1 << 16)
    with zipfile.ZipFile(path, "w") as archive:
        for number in range(count):
            start = number * 61 % 60_000
            name = "data/group%05d/entry%06d.txt" % (number // 200, number)
            archive.writestr(info(name), base[start:start + 40 + number * 37 % 660], compresslevel=1)


def make_median(path):
    """Four files, 100 KB, as most archives of players."""
    rng = random.Random(3)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, data in (("readme.txt", text(rng, 900)), ("scripts/autoexec/tweak.cs", text(rng, 4000)),
                           ("textures/skins/base.png", noise(rng, 48_000)),
                           ("textures/skins/rough.png", noise(rng, 50_000))):
            archive.writestr(info(name), data, zipfile.ZIP_DEFLATED)


def make_large(path):
    """One entry of 5 GiB that compresses to about a third, and a small one."""
    block = noise(random.Random(5), 1 << 18)
    with zipfile.ZipFile(path, "w") as archive:
        with archive.open(info("big.bin"), "w", force_zip64=True) as entry:
            for number in range(5 << 10):
                start = number * 7919 % (1 << 17)
                entry.write(block[start:start + (1 << 17)] * 2
                            + struct.pack("<I", number) * (3 << 16))
        archive.writestr(info("readme.txt"), b"beside it\r\n")


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "game":
        make_game(sys.argv[2])
    elif len(sys.argv) == 3 and sys.argv[1] == "large":
        make_large(sys.argv[2])
    elif len(sys.argv) == 4 and sys.argv[1] == "small":
        make_small(sys.argv[2], int(sys.argv[3]))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
