"""A game that was installed under Wine: a real prefix, real registry entries, a real Windows editor.

usage: wine_game.py PROGRAMS FOLDER
"""

import os
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
from tour import FILE, PICTURE, SCRIPT, SHOWN, save_changes  # noqa: E402

SKIPPED = 77
COMPILER = "x86_64-w64-mingw32-gcc"
RECORDED, STORED = "C:\\Dynamix\\Tribes2", "DYNAMIX/tribes2"  # in the registry, on the disk
UMLAUTS = "scripts/autoexec/lesen/äöü größe.cs"


class Prefix(Sandbox):
    """A home folder with a new Wine prefix in it. `drive` is what the Windows editor's next file
    must begin with, and `root` the folder that it stands for."""

    drive, root = "Z:", ""

    def __init__(self, folder, programs):
        super().__init__(folder, programs)
        quiet = {"WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree,mshtml="}
        self.environment.update(quiet)
        self.environment.pop("DISPLAY", None)
        self.prefix = Path(self.environment["WINEPREFIX"])
        self.devices = self.prefix / "dosdevices"
        self.make()

    def make(self):
        """Has Wine make the prefix. Its start-up fails now and then, without a word of why; that is
        no fault of what is tested here, so it gets three tries."""
        for last in (False, False, True):
            try:
                self.call("wineboot", "-i")
                return
            except subprocess.CalledProcessError as error:
                print(f"wineboot gave {error.returncode}: {error.stdout} {error.stderr}", flush=True)
                if last:
                    raise
                self.end()
                shutil.rmtree(self.prefix, ignore_errors=True)

    def call(self, *command):
        subprocess.run(
            command, env=self.environment, check=True, capture_output=True, timeout=120
        )

    def register(self, game, view):
        """Sets the game's "directory" with Wine's own program, and waits until it is on the disk."""
        value = ["/v", "directory", "/d", game, "/f", f"/reg:{view}"]
        self.call("wine", "reg", "add", f"HKLM\\{GAME_KEY}", *value)
        self.end()

    def end(self):
        """Ends what still runs in the prefix; the registry is written then."""
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self.environment, check=False, timeout=120)

    def state(self):
        """All that could tell that somebody wrote into the prefix, the game's folder apart."""
        seen = {}
        for path in self.prefix.rglob("*"):
            if not path.is_relative_to(self.prefix / "drive_c" / STORED):
                about = path.lstat()
                seen[path] = (about.st_ino, about.st_mode, about.st_size, about.st_ctime_ns)
        return seen

    def add_editor(self):
        """Compiles the Windows editor into the prefix and chooses it, by its path there."""
        folder = self.prefix / "drive_c" / "Tools" / "My Editor"
        folder.mkdir(parents=True)
        target = folder / "windows_editor.exe"
        options = ["-municode", "-mwindows", "-o", str(target)]
        self.call(COMPILER, *options, str(HERE / "windows_editor.c"))
        self.log = target.with_suffix(".log")
        for kind in ("Text", "PNG"):
            self.set(OWN_KEY + r"\Programs", kind, r"C:\tools\MY EDITOR\Windows_Editor.EXE")

    def edited_files(self):
        if not hasattr(self, "log"):
            return super().edited_files()
        lines = self.log.read_text("utf-8").splitlines() if self.log.exists() else []
        if lines[self.seen :] and not lines[-1].startswith(self.drive):
            raise AssertionError(f"{lines[-1]} is not on {self.drive}")
        return [Path(self.root + line[len(self.drive) :].replace("\\", "/")) for line in lines]

    seen = 0

    def use_drive(self, drive, root, links):
        """Makes the prefix's drives anew: C: and these."""
        self.seen = len(self.log.read_text().splitlines()) if self.log.exists() else 0
        for link in self.devices.glob("[abd-z]:"):
            link.unlink()
        for letter, target in links.items():
            (self.devices / f"{letter}:").symlink_to(target)
        self.drive, self.root = drive, root


def check_registry(prefix):
    """Both views of the registry hold a game; that of 32-bit programs comes first."""
    for view, game in ((64, "C:\\Other"), (32, RECORDED)):
        prefix.register(game, view)
        found = prefix.get(GAME_KEY, "directory")
        assert found == game, f"after reg add {game} /reg:{view}: {found}"


def place_game(prefix):
    """Puts a game where it is registered, in other letters; returns the folder of its archives."""
    game = prefix.prefix / "drive_c" / STORED
    make_game(game)
    (game / "GameData" / "base").rename(game / "GameData" / "BASE")
    (game / "GameData").rename(game / "gamedata")
    return game / "gamedata" / "BASE"


def edit_natively(screen, job, archive):
    """The whole job, which must leave nothing in the prefix but the archive."""
    prefix = job.sandbox
    prefix.use_stand_in_editor()
    before = prefix.state()
    screen.environment["HOME"] = str(prefix.folder)  # the prefix is known by WINEPREFIX alone
    job.see_splash()
    found = save_changes(job, archive)
    job.close()
    changed = {path for path, seen in prefix.state().items() if before.pop(path, None) != seen}
    assert not changed | set(before), f"changed in the prefix: {changed | set(before)}"
    return found


def edit_under_wine(screen, job, archive):
    """Each file in the Windows editor, by another drive."""
    prefix = job.sandbox
    prefix.add_editor()
    screen.environment["HOME"] = prefix.environment["HOME"]
    del screen.environment["WINEPREFIX"]
    before, edited = Snapshot(archive), {}
    names = before.names_on_disk()
    job.see_splash()
    job.pick(SHOWN)
    job.extract(SHOWN, before)
    job.go_to_tree()
    folder = str(prefix.folder)
    for name, drive, root, links in (
        (SCRIPT, "Z:", "", {"z": "/"}),
        (UMLAUTS, "W:", folder, {"z": prefix.prefix / "drive_c", "w": folder}),
        (PICTURE, "\\\\?\\unix", "", {}),
    ):
        prefix.use_drive(drive, root, links)
        path = Path(names[name])
        if path.name.isascii():
            job.select(path.name)
        else:
            job.select_first_in(str(path.parent).replace("/", "\\"))
        edited[name] = job.edit(SHOWN, names[name], ["Return"], "windows-editor")
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
            job = Job(screen, prefix)
            try:
                found = edit_natively(screen, job, archive)
                found += edit_under_wine(screen, job, archive)
            finally:
                job.stop()
        print("\n".join(found))
    finally:
        prefix.end()
        shutil.rmtree(prefix.prefix)  # half a gigabyte
    return 0


sys.exit(main(*(Path(os.path.abspath(argument)) for argument in sys.argv[1:])))
