"""The archives of the sample game."""

import zipfile
from pathlib import Path

import content
import jpeg
import pictures

# All entries have one date, so that the bytes of the sample game are always the same.
DATE = (2002, 4, 14, 12, 30, 0)
READ_ONLY, FOLDER = 0x01, 0x10


class Archive:
    """Collects entries and writes them in this order."""

    def __init__(self, comment=b""):
        self.entries, self.comment = [], comment

    def add(self, name, data, stored=False, attributes=0):
        self.entries.append((name, data, stored, attributes))
        return self

    def write(self, path):
        with zipfile.ZipFile(path, "w") as archive:
            for name, data, stored, attributes in self.entries:
                entry = zipfile.ZipInfo(name, DATE)
                entry.create_system = 0  # DOS attributes
                entry.external_attr = attributes
                entry.compress_type = zipfile.ZIP_STORED if stored else zipfile.ZIP_DEFLATED
                archive.writestr(entry, data)
            archive.comment = self.comment


def scripts():
    archive = Archive()
    for name in ("admin", "camera", "commanderMap", "deathMessages", "inventory", "loadout"):
        archive.add(f"scripts/{name}.cs", content.script(name, 12))
        archive.add(f"scripts/{name}.cs.dso", content.compiled_script(name))
    for name in ("CTFGame", "DMGame", "HuntersGame"):
        archive.add(f"scripts/game/{name}.cs", content.script(name, 30))
    archive.add("gui/LobbyGui.gui", content.dialog("LobbyGui"))
    archive.add("gui/OptionsDlg.gui", content.dialog("OptionsDlg"))
    archive.add("prefs/ClientDefaults.cs", content.script("ClientDefaults", 2))
    return archive.add("readme.txt", content.README)


def textures():
    archive = Archive()
    for number, name in enumerate(("beach", "canyon", "dusk", "island")):
        hue = number / 7
        archive.add(f"textures/skies/{name}.png", pictures.png(pictures.landscape(96, 64, hue)))
        archive.add(f"textures/skies/{name}.jpg", jpeg.jpeg(pictures.landscape(64, 64, hue)), True)
    archive.add("textures/gui/crosshair.gif", pictures.gif(pictures.landscape(48, 32, 0.6)))
    archive.add("textures/gui/backdrop.bmp", pictures.bmp(pictures.landscape(80, 60, 0.3)))
    archive.add("textures/skins/base.bioderm.png", pictures.png(pictures.landscape(64, 64, 0.8)))
    archive.add("textures/skins/base.bm8", content.noise("bm8", 4096))
    archive.add("textures/liquid.ifl", b"water00 4\r\nwater01 4\r\nwater02 4\r\n")
    return archive.add("textures/sky.dml", b"beach.png\r\ncanyon.png\r\n")


def missions():
    archive = Archive()
    for name in ("Katabase", "Sandfall", "Riverrun"):
        archive.add(f"missions/{name}.mis", content.mission(name))
        archive.add(f"terrains/{name}.ter", content.terrain(name))
        archive.add(f"missions/{name}.nav", content.noise(name, 900))
        archive.add(f"missions/{name}.spn", content.noise(name + "s", 300))
    return archive.add("missions/notes.txt", b"Three valleys, one river.\r\n")


def sounds():
    archive = Archive()
    for number, name in enumerate(("jet", "land", "fire", "flag")):
        archive.add(f"audio/fx/{name}.wav", content.wav(0.35, 220 * (number + 1)))
    archive.add("audio/music/menu.mp3", content.mp3(40), stored=True)
    frames = [pictures.landscape(48, 32, turn / 6) for turn in range(6)]
    archive.add("video/intro.avi", pictures.avi(frames, 6))
    return archive.add("video/credits.mpg", b"\0\0\1\xb3\x02\0\x18\x13\xff\xff\xe0\x18\0\0\1\xb7")


def shapes():
    archive = Archive()
    for name in ("pad_small", "vehicle_air", "tree_01"):
        archive.add(f"shapes/{name}.dts", content.shape(name, 9000))
        archive.add(f"shapes/{name}_idle.dsq", content.shape(name + "q", 1500))
    return archive.add("shapes/shapes.txt", b"pad_small\r\nvehicle_air\r\ntree_01\r\n")


def map_pack():
    """An archive with all peculiarities of real third-party archives."""
    archive = Archive(comment=b"Packed by hand")
    archive.add("readme.txt", content.README)
    archive.add("textures/", b"", stored=True, attributes=FOLDER)
    archive.add("textures\\skins\\team.png", pictures.png(pictures.landscape(64, 64, 0.1)))
    archive.add("textures\\skins\\team.jpg", jpeg.jpeg(pictures.landscape(64, 64, 0.2)), True)
    archive.add("scripts/autoexec/MapPack.cs", content.script("MapPack", 5))
    archive.add("scripts/autoexec/lesen/äöü größe.cs", content.script("Umlaut", 1))
    archive.add("docs/読んで.txt", "地図を作る人へ\r\n".encode())
    archive.add("docs/locked.txt", b"A read-only entry.\r\n", attributes=READ_ONLY)
    deep = "/".join(f"level{number}" for number in range(1, 9))
    archive.add(f"deep/{deep}/end.txt", b"Eight folders down.\r\n")
    archive.add("interiors/bunker.dif", content.shape("bunker", 20000))
    archive.add("LICENSE", b"Do what you like with this map.\r\n")
    return archive.add("empty.cs", b"")


def interiors():
    return Archive().add("interiors/base.dif", content.shape("base", 8000))


ARCHIVES = {
    "scripts.vl2": scripts,
    "textures.vl2": textures,
    "missions.vl2": missions,
    "audio.vl2": sounds,
    "shapes.vl2": shapes,
    "My Map_pack.vl2": map_pack,
    "interiors.vl2": interiors,
}


def make_game(folder):
    """Writes a sample game to a folder. Returns the folder of its archives."""
    base = Path(folder) / "GameData" / "base"
    base.mkdir(parents=True, exist_ok=True)
    for name, contents in ARCHIVES.items():
        contents().write(base / name)
    (base / "missions").mkdir(exist_ok=True)
    (base / "missions" / "readme.txt").write_bytes(content.README)
    (base.parent / "console_start.cs").write_bytes(content.script("start", 1))
    return base
