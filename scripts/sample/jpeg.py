"""A simple JPEG encoder: baseline, three components, no subsampling."""

import math
import struct

ZIGZAG = sorted(
    range(64),
    key=lambda i: (i // 8 + i % 8, i // 8 if (i // 8 + i % 8) % 2 else i % 8),
)

# Quantization steps in zigzag order: finer for low frequencies.
STEPS = [2 + k // 3 for k in range(64)]

# Huffman tables: the number of codes of each length 1 to 16, then the symbols. All codes have one
# length, which needs no statistics and costs some bits.
DC_SYMBOLS = list(range(12))
AC_SYMBOLS = [run << 4 | size for size in range(1, 11) for run in range(16)] + [0x00, 0xF0]

COSINES = [[math.cos((2 * x + 1) * u * math.pi / 16) for x in range(8)] for u in range(8)]


def _flat_table(symbols, length):
    counts = [0] * 16
    counts[length - 1] = len(symbols)
    codes = {symbol: (code, length) for code, symbol in enumerate(symbols)}
    return bytes(counts) + bytes(symbols), codes


DC_TABLE, DC_CODES = _flat_table(DC_SYMBOLS, 4)
AC_TABLE, AC_CODES = _flat_table(AC_SYMBOLS, 8)


class _Bits:
    def __init__(self):
        self.out, self.held, self.count = bytearray(), 0, 0

    def put(self, value, length):
        self.held, self.count = self.held << length | value, self.count + length
        while self.count >= 8:
            self.count -= 8
            byte = self.held >> self.count & 255
            self.out += bytes([byte, 0]) if byte == 255 else bytes([byte])
        self.held &= (1 << self.count) - 1

    def finish(self):
        self.put((1 << -self.count % 8) - 1, -self.count % 8)
        return bytes(self.out)


def _number(bits, codes, prefix, value):
    size = abs(value).bit_length()
    bits.put(*codes[prefix | size])
    if size:
        bits.put(value if value > 0 else value + (1 << size) - 1, size)


def _frequencies(block):
    rows = [[sum(r[x] * COSINES[u][x] for x in range(8)) for u in range(8)] for r in block]
    result = []
    for v in range(8):
        for u in range(8):
            total = sum(rows[y][u] * COSINES[v][y] for y in range(8))
            result.append(total * (0.25 if u and v else 0.1767767 if u or v else 0.125))
    return result


def _encode_block(bits, block, previous):
    spectrum = _frequencies(block)
    values = [round(spectrum[ZIGZAG[k]] / STEPS[k]) for k in range(64)]
    _number(bits, DC_CODES, 0, values[0] - previous)
    run = 0
    last = max((k for k in range(1, 64) if values[k]), default=0)
    for value in values[1 : last + 1]:
        if not value:
            run += 1
            continue
        while run > 15:
            bits.put(*AC_CODES[0xF0])
            run -= 16
        _number(bits, AC_CODES, run << 4, value)
        run = 0
    if last < 63:
        bits.put(*AC_CODES[0x00])
    return values[0]


def jpeg(rows):
    """A JPEG of rows of (red, green, blue); width and height are multiples of eight."""
    width, height = len(rows[0]), len(rows)
    planes = [
        [[0.299 * r + 0.587 * g + 0.114 * b - 128 for r, g, b in row] for row in rows],
        [[-0.1687 * r - 0.3313 * g + 0.5 * b for r, g, b in row] for row in rows],
        [[0.5 * r - 0.4187 * g - 0.0813 * b for r, g, b in row] for row in rows],
    ]
    bits, previous = _Bits(), [0, 0, 0]
    for top in range(0, height, 8):
        for left in range(0, width, 8):
            for number, plane in enumerate(planes):
                block = [row[left : left + 8] for row in plane[top : top + 8]]
                previous[number] = _encode_block(bits, block, previous[number])

    def segment(marker, body):
        return bytes([0xFF, marker]) + struct.pack(">H", len(body) + 2) + body

    frame = struct.pack(">BHHB", 8, height, width, 3)
    frame += b"".join(bytes([number, 0x11, 0]) for number in (1, 2, 3))
    scan = b"\x03" + b"".join(bytes([number, 0]) for number in (1, 2, 3)) + b"\0\x3f\0"
    return (
        b"\xff\xd8"
        + segment(0xE0, b"JFIF\0\x01\x01\0\0\x01\0\x01\0\0")
        + segment(0xDB, b"\0" + bytes(STEPS))
        + segment(0xC0, frame)
        + segment(0xC4, b"\x00" + DC_TABLE + b"\x10" + AC_TABLE)
        + segment(0xDA, scan)
        + bits.finish()
        + b"\xff\xd9"
    )
