"""Installs the Windows program from its package, under Wine on a virtual screen, does the whole job
with it by keyboard alone, and removes it.

usage: windows_program.py BUILD RUN-FOLDER
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import MAIN, Job  # noqa: E402
from sandbox import GAME_KEY, OWN_KEY, make_game  # noqa: E402
from screen import Screen  # noqa: E402
from windows_package import Installation, Packages  # noqa: E402


class WineSandbox:
    """The program as its installer puts it into a Wine prefix, with the sample game registered as
    the game's does: in the view of 32-bit programs."""

    def __init__(self, folder):
        self.folder = folder
        self.programs = folder / "wine/drive_c/Editors/Orvel"
        # Wine copies the Start menu into the home folder of whoever runs this.
        quiet = {"WINEDEBUG": "-all", "WINEDLLOVERRIDES": "winemenubuilder.exe=d"}
        self.environment = {**os.environ, "WINEPREFIX": str(folder / "wine"), **quiet}

    def wine(self, *command, fails=False):
        """The output of a Windows program, which must fail if `fails`."""
        told = subprocess.run(
            ["wine", *map(str, command)],
            env=self.environment,
            check=False,
            capture_output=True,
            text=True,
            timeout=120,
        )
        assert (told.returncode != 0) == fails, f"{command} ended with {told}"
        return told.stdout

    def installation(self):
        return Installation(self.wine, self.programs, "C:\\Editors\\Orvel")

    def install_game(self):
        base = make_game(self.folder / "game")
        game = "Z:" + str(self.folder / "game").replace("/", "\\")
        key = "HKLM\\" + GAME_KEY
        self.wine("reg", "add", key, "/v", "directory", "/d", game, "/f", "/reg:32")
        seen = self.wine(self.programs / "orvel-reg.exe", "query", GAME_KEY, "directory").strip()
        assert seen == game, seen
        return base

    def work_folders(self):
        told = self.wine(self.programs / "orvel-reg.exe", "query", OWN_KEY, "tempdir").strip()
        return Path(self.wine("winepath", "-u", told).strip())

    def end(self):
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)


class WineJob(Job):
    def start(self, command=None):
        command = command or [self.sandbox.programs / "orvel.exe"]
        environment = dict(self.screen.environment)
        environment.pop("QT_QPA_PLATFORM")
        with open(self.sandbox.folder / "orvel.log", "ab") as log:
            streams = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log}
            self.process = subprocess.Popen(["wine", *map(str, command)], env=environment, **streams)
        self.window = self.screen.window(MAIN, 60)
        self.screen.settle()
        self.picture("main", self.window)


    def edit_in_notepad(self, file, text):
        """Windows' own editor of texts, the default."""
        before = file.read_bytes()
        self.select(file.name)
        self.screen.key("alt+e")
        self.screen.window(f"^{file.name} - Notepad$", 60)
        self.screen.settle()
        self.screen.key("ctrl+Home")
        self.screen.type(text)
        self.screen.key("ctrl+s")
        wanted = text.encode() + before
        self.screen.wait("the saved text", lambda: file.read_bytes() == wanted)
        self.screen.key("alt+F4")
        self.screen.window(MAIN)
        return wanted


def main(build, run):
    shutil.rmtree(run, ignore_errors=True)
    packages = Packages(build, run / "packages")
    sandbox = WineSandbox(run)
    try:
        with Screen(sandbox.environment, run / "pictures") as screen:
            # The prefix is made with a screen available.
            sandbox.environment["DISPLAY"] = screen.environment["DISPLAY"]
            installation = sandbox.installation()
            installation.install(packages, packages.unpack())
            base = sandbox.install_game()
            sandbox.wine(build / "bin/systemMenuTest.exe", "-platform", "windows")
            job = WineJob(screen, sandbox)
            archive = base / "scripts.vl2"
            before = Snapshot(archive)
            try:
                job.start()
                installation.refuse_while_running()
                job.pick("Scripts")
                job.extract("Scripts", before)
                name = "prefs/ClientDefaults.cs"
                changed = job.edit_in_notepad(job.work_folder("Scripts") / name, "// mine; ")
                job.save("Scripts", archive)
                job.close()
                job.start(installation.opener("Z:" + str(archive).replace("/", "\\")))
                job.extract("Scripts", Snapshot(archive))
                job.cancel("Scripts")
                job.close()
            finally:
                job.stop()
            found = compare(before, Snapshot(archive), {name: changed})
            found.append(judge_with_7z(archive))
            left = [file.name for file in base.iterdir() if file.name.startswith(".")]
            assert not left, left
            installation.remove(screen.wait)
            print("\n".join(found))
    finally:
        sandbox.end()


if __name__ == "__main__":
    main(*(Path(argument).resolve() for argument in sys.argv[1:]))
