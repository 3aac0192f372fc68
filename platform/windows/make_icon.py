"""make_icon.py ICON PICTURE...: puts PNG pictures into one Windows icon file."""
import struct
import sys


def size_of(png):
    return struct.unpack(">II", png[16:24])


def main(icon, *names):
    pictures = [open(name, "rb").read() for name in names]
    offset = 6 + 16 * len(pictures)
    head = struct.pack("<HHH", 0, 1, len(pictures))
    for png in pictures:
        width, height = size_of(png)
        # 256 pixels are written as 0.
        head += struct.pack("<BBBBHHII", width % 256, height % 256, 0, 0, 1, 32, len(png), offset)
        offset += len(png)
    with open(icon, "wb") as file:
        file.write(head + b"".join(pictures))


main(*sys.argv[1:])
