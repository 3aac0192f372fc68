"""A game that was installed under Wine: a real prefix, real registry entries, a real Windows editor.

usage: wine_game.py PROGRAMS FOLDER
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "scripts" / "drive"))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import Job  # noqa: E402
from sandbox import GAME_KEY, OWN_KEY, Sandbox, make_game  # noqa: E402
from screen import Screen  # noqa: E402
from tour import FILE, PICTURE, SHOWN  # noqa: E402

SKIPPED = 77
COMPILER = "x86_64-w64-mingw32-gcc"
RECORDED, STORED = "C:\\Dynamix\\Tribes2", "DYNAMIX/tribes2"  # in the registry, on the disk
UMLAUTS = "scripts/autoexec/lesen/äöü größe.cs"


class Prefix(Sandbox):
    """A home folder with a new Wine prefix in it."""

    def __init__(self, folder, programs):
        super().__init__(folder, programs)
        self.environment.update(WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
        self.environment.pop("DISPLAY", None)
        self.prefix = Path(self.environment["WINEPREFIX"])
        self.make()

    def make(self):
        """Wine's start-up fails now and then for no reason, so it gets a second try."""
        try:
            self.call("wineboot", "-i")
        except subprocess.CalledProcessError as error:
            print(f"wineboot gave {error.returncode}: {error.stdout} {error.stderr}", flush=True)
            self.end()
            shutil.rmtree(self.prefix, ignore_errors=True)
            self.call("wineboot", "-i")

    def call(self, *command):
        options = {"env": self.environment, "capture_output": True, "timeout": 120}
        subprocess.run(command, check=True, **options)

    def end(self):
        """Ends Wine's processes, which writes the registry."""
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self.environment, check=False, timeout=120)

    def add_editor(self):
        """Compiles the Windows editor into the prefix and chooses it, by its path there."""
        folder = self.prefix / "drive_c" / "Tools" / "My Editor"
        folder.mkdir(parents=True)
        target = folder / "windows_editor.exe"
        self.call(COMPILER, "-municode", "-mwindows", "-o", target, HERE / "windows_editor.c")
        self.log = target.with_suffix(".log")
        for kind in ("Text", "PNG"):
            self.set(OWN_KEY + r"\Programs", kind, r"C:\tools\MY EDITOR\Windows_Editor.EXE")

    def edited_files(self):
        if not hasattr(self, "log"):
            return super().edited_files()
        lines = self.log.read_text("utf-8").splitlines() if self.log.exists() else []
        return [Path(re.sub(r"^Z:|^\\\\\?\\unix", "", line).replace("\\", "/")) for line in lines]


def check_registry(prefix):
    """Both views of the registry hold a game; that of 32-bit programs comes first."""
    for view, game in ((64, "C:\\Other"), (32, RECORDED)):
        value = ["/v", "directory", "/d", game, "/f", f"/reg:{view}"]
        prefix.call("wine", "reg", "add", f"HKLM\\{GAME_KEY}", *value)
    prefix.end()
    found = prefix.get(GAME_KEY, "directory")
    assert found == RECORDED, found


def place_game(prefix):
    """Puts a game where it is registered, in other letters; returns the folder of its archives."""
    game = prefix.prefix / "drive_c" / STORED
    make_game(game)
    (game / "GameData" / "base").rename(game / "GameData" / "BASE")
    (game / "GameData").rename(game / "gamedata")
    return game / "gamedata" / "BASE"


def edit_under_wine(screen, job, archive):
    """In the Windows editor, with a drive for the files and without one."""
    prefix = job.sandbox
    before, edited = Snapshot(archive), {}
    names = before.names_on_disk()
    job.see_splash()
    job.pick(SHOWN)
    job.extract(SHOWN, before)
    job.select_first_in(str(Path(names[UMLAUTS]).parent).replace("/", "\\"))
    edited[UMLAUTS] = job.edit(SHOWN, names[UMLAUTS], ["Return"], "windows-editor")
    for drive in (prefix.prefix / "dosdevices").glob("[abd-z]:"):
        drive.unlink()
    job.select(Path(names[PICTURE]).name)
    edited[PICTURE] = job.edit(SHOWN, names[PICTURE], ["Return"], "windows-editor")
    log = prefix.log.read_text("utf-8").splitlines()
    assert log[0].startswith("Z:") and log[1].startswith("\\\\?\\unix"), log
    job.save(SHOWN, archive)
    job.close()
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


def main(programs, folder):
    for needed in ("wine", "wineboot", "wineserver", COMPILER):
        if not shutil.which(needed):
            print(f"Skipped: {needed} is not installed (scripts/setup wine)")
            return SKIPPED
    prefix = Prefix(folder / "sandbox", programs)
    prefix.set(OWN_KEY, "tempdir", prefix.folder / "work")
    try:
        check_registry(prefix)
        archive = place_game(prefix) / FILE
        with Screen(prefix.environment, folder / "pictures") as screen:
            prefix.add_editor()
            job = Job(screen, prefix)
            try:
                found = edit_under_wine(screen, job, archive)
            finally:
                job.stop()
        print("\n".join(found))
    finally:
        prefix.end()
        shutil.rmtree(prefix.prefix)  # half a gigabyte
    return 0


sys.exit(main(*(Path(os.path.abspath(argument)) for argument in sys.argv[1:])))
