"""Generators for sounds, scripts, missions and binary files of the sample game."""

import math
import random
import struct


def wav(seconds, pitch):
    """A 16-bit mono WAV: one tone with exponential decay."""
    rate = 22050
    samples = b"".join(
        struct.pack(
            "<h",
            int(
                26000
                * math.exp(-5 * n / (rate * seconds))
                * (
                    math.sin(2 * math.pi * pitch * n / rate)
                    + 0.4 * math.sin(4.02 * math.pi * pitch * n / rate)
                )
                / 1.4
            ),
        )
        for n in range(int(rate * seconds))
    )
    layout = struct.pack("<HHIIHH", 1, 1, rate, rate * 2, 2, 16)
    return (
        b"RIFF"
        + struct.pack("<I", 36 + len(samples))
        + b"WAVEfmt "
        + struct.pack("<I", len(layout))
        + layout
        + b"data"
        + struct.pack("<I", len(samples))
        + samples
    )


def mp3(frames):
    """Silence as an MP3: empty frames of 128 kbit/s and 44.1 kHz."""
    return (b"\xff\xfb\x90\xc4" + b"\0" * 413) * frames


def noise(name, size):
    """Incompressible bytes, derived from the name."""
    return random.Random(name).randbytes(size)


def terrain(name):
    """A terrain block: 256 by 256 heights, then the texture index of each square."""
    phase = random.Random(name).uniform(0, 6)
    heights = b"".join(
        struct.pack(
            "<H",
            int(9000 + 3000 * (math.sin(x / 19 + phase) + math.sin(y / 23) + math.sin((x + y) / 41))),
        )
        for y in range(256)
        for x in range(256)
    )
    cover = bytes((x // 16 + y // 16) % 4 for y in range(256) for x in range(256))
    return b"\x03" + heights + cover + b"\x04sand\x04rock\x05grass\x04snow"


def shape(name, size):
    """A stand-in for a compiled model: a version, counts, then numbers."""
    numbers = random.Random(name)
    body = b"".join(struct.pack("<f", numbers.gauss(0, 4)) for _ in range(size // 4))
    return struct.pack("<IIII", 24, len(body), 0, numbers.randrange(4, 40)) + body


def compiled_script(name):
    return struct.pack("<I", 33) + b"\0".join(
        word.encode() for word in ("function", name, "echo", "%client", "")
    ) + noise(name, 600)


def script(name, functions):
    lines = [f"// {name}", f"$Sample::{name} = true;", ""]
    for number in range(functions):
        lines += [
            f"function {name}::step{number}(%this, %client)",
            "{",
            f'   messageClient(%client, \'MsgSample\', "{name} step {number}");',
            f"   schedule({(number + 1) * 250}, 0, \"{name}::step{number}\", %this, %client);",
            "}",
            "",
        ]
    return "\r\n".join(lines).encode()


def mission(name):
    lines = [
        f"// DisplayName = {name}",
        "// MissionTypes = CTF DM",
        "//--- OBJECT WRITE BEGIN ---",
        "new SimGroup(MissionGroup) {",
    ]
    rng = random.Random(name)
    for number in range(60):
        position = " ".join(f"{rng.uniform(-900, 900):.3f}" for _ in range(3))
        lines += [
            f"   new StaticShape(Pad{number}) {{",
            f'      position = "{position}";',
            '      rotation = "1 0 0 0";',
            '      scale = "1 1 1";',
            "   };",
        ]
    lines += ["};", "//--- OBJECT WRITE END ---", ""]
    return "\r\n".join(lines).encode()


def dialog(name):
    return (
        f"//--- OBJECT WRITE BEGIN ---\r\nnew GuiControl({name}) {{\r\n"
        '   profile = "GuiDefaultProfile";\r\n   extent = "640 480";\r\n'
        '   new ShellPaneCtrl() {\r\n      text = "SAMPLE";\r\n   };\r\n};\r\n'
        "//--- OBJECT WRITE END ---\r\n"
    ).encode()


README = b"This is a sample game that was made by a program.\r\nNothing in it comes from a real one.\r\n"
