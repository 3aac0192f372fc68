"""Generated pictures: a landscape, and encoders for PNG, BMP, GIF and AVI."""

import math
import struct
import zlib


def landscape(width, height, hue):
    """Rows of (red, green, blue): a sky, two ridges and a sun in the hue `hue` (0 to 1)."""

    def tint(shade, lightness):
        turn = 2 * math.pi * (hue + shade)
        return tuple(
            max(0, min(255, int(lightness * (150 + 90 * math.cos(turn + third)))))
            for third in (0, 2.0944, 4.1888)
        )

    rows = []
    for y in range(height):
        row = []
        for x in range(width):
            far = height * (0.55 + 0.08 * math.sin(x / width * 7 + hue * 9))
            near = height * (0.75 + 0.06 * math.sin(x / width * 11 + hue * 5))
            sun = math.hypot(x - width * 0.7, y - height * 0.3) < height * 0.12
            if y > near:
                row.append(tint(0.45, 0.35))
            elif y > far:
                row.append(tint(0.4, 0.6))
            elif sun:
                row.append((255, 240, 180))
            else:
                row.append(tint(0.05, 0.6 + 0.5 * y / height))
        rows.append(row)
    return rows


def png(rows):
    """An 8-bit RGB PNG."""

    def chunk(kind, body):
        return (
            struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
        )

    raw = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in rows)
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 2, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(raw, 9))
        + chunk(b"IEND", b"")
    )


def bmp(rows):
    """A 24-bit BMP, bottom row first."""
    width, height = len(rows[0]), len(rows)
    padding = b"\0" * (-3 * width % 4)
    body = b"".join(
        bytes(value for r, g, b in row for value in (b, g, r)) + padding for row in reversed(rows)
    )
    return (
        struct.pack("<2sIHHI", b"BM", 54 + len(body), 0, 0, 54)
        + struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(body), 2835, 2835, 0, 0)
        + body
    )


def gif(rows):
    """A GIF of 216 colours. Clear codes keep the code length at nine bits."""
    width, height = len(rows[0]), len(rows)
    palette = bytes(v * 51 for i in range(216) for v in (i // 36, i // 6 % 6, i % 6))
    palette += bytes(3 * 40)
    indexes = [r // 43 * 36 + g // 43 * 6 + b // 43 for row in rows for r, g, b in row]
    codes = []
    for start in range(0, len(indexes), 250):
        codes += [256] + indexes[start : start + 250]
    codes.append(257)
    bits = sum(code << (9 * index) for index, code in enumerate(codes))
    data = bits.to_bytes((9 * len(codes) + 7) // 8, "little")
    blocks = b"".join(
        bytes([len(data[at : at + 255])]) + data[at : at + 255] for at in range(0, len(data), 255)
    )
    return (
        b"GIF89a"
        + struct.pack("<HHBBB", width, height, 0xF7, 0, 0)
        + palette
        + struct.pack("<BHHHHB", 0x2C, 0, 0, width, height, 0)
        + b"\x08"
        + blocks
        + b"\0;"
    )


def avi(frames, per_second):
    """An AVI of uncompressed frames."""

    def chunk(kind, body):
        return kind + struct.pack("<I", len(body)) + body + b"\0" * (len(body) % 2)

    def group(kind, body):
        return chunk(b"LIST", kind + body)

    width, height = len(frames[0][0]), len(frames[0])
    pictures = [bmp(frame)[54:] for frame in frames]
    size = len(pictures[0])
    main = struct.pack(
        "<14I", 1000000 // per_second, size * per_second, 0, 0x10, len(frames), 0, 1, size,
        width, height, 0, 0, 0, 0,
    )  # fmt: skip
    stream = struct.pack(
        "<4s4sIHHIIIIIIII4H", b"vids", b"DIB ", 0, 0, 0, 0, 1, per_second, 0, len(frames), size,
        0, size, 0, 0, width, height,
    )  # fmt: skip
    layout = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, size, 0, 0, 0, 0)
    header = chunk(b"avih", main) + group(b"strl", chunk(b"strh", stream) + chunk(b"strf", layout))
    movie = b"".join(chunk(b"00db", picture) for picture in pictures)
    index, offset = b"", 4
    for picture in pictures:
        index += struct.pack("<4sIII", b"00db", 0x10, offset, len(picture))
        offset += 8 + len(picture) + len(picture) % 2
    body = group(b"hdrl", header) + group(b"movi", movie) + chunk(b"idx1", index)
    return b"RIFF" + struct.pack("<I", 4 + len(body)) + b"AVI " + body
