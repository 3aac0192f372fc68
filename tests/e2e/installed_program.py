"""Installs the build into a folder of its own, chooses programs in the settings window, and does the
whole job with what was installed.

usage: installed_program.py BUILD FOLDER
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from archive_check import Snapshot  # noqa: E402
from job import MAIN, SETTINGS  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402
from tour import FILE, SHOWN, Job, save_changes, throw_away  # noqa: E402


def install(build, prefix):
    shutil.rmtree(prefix, ignore_errors=True)
    command = ["cmake", "--install", str(build), "--prefix", str(prefix)]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def companion_libraries(process):
    """The companion libraries that a process has loaded."""
    lines = Path(f"/proc/{process.pid}/maps").read_text().splitlines()
    return {Path(line.split(maxsplit=5)[5]) for line in lines if "/libvl2" in line}


def check_libraries(process, prefix):
    loaded = companion_libraries(process)
    assert {path.name for path in loaded} == {"libvl2uzip.so", "libvl2zip.so"}, loaded
    assert all(path.is_relative_to(prefix / "lib") for path in loaded), loaded


def check_work_folders(sandbox, prefix):
    """Beside a program that may write there, else among the user's data."""
    data = Path(sandbox.environment["XDG_DATA_HOME"]) / "orvel"
    own = prefix / "bin" if os.access(prefix / "bin", os.W_OK) else data
    assert sandbox.work_folders() == own / "temp", sandbox.work_folders()


def choose(job, letter, kind):
    """Chooses the editor for a kind of files in the open-file dialog, by keyboard."""
    screen, title = job.screen, f"^{kind} Editor\\.\\.\\.$"
    screen.key(f"alt+{letter}", "Tab", "space")
    screen.window(title)
    screen.settle()
    screen.type(str(job.sandbox.editor))
    screen.settle()
    screen.key("Return")
    screen.wait(f"the end of {title}", lambda: not screen.find(title))
    screen.window(SETTINGS)
    screen.settle()


def choose_programs(job):
    """The window manager's request closes neither the settings nor the main window behind them."""
    screen = job.screen
    screen.key("alt+s")
    window = screen.window(SETTINGS)
    screen.key("alt+F4")
    screen.settle()
    assert screen.find(SETTINGS) == window, "the settings window was closed"
    assert screen.find(MAIN) == job.window, "the main window was closed"
    choose(job, "p", "PNG")
    choose(job, "t", "Text")
    job.picture("chosen", window)
    screen.key("alt+o")
    screen.wait("the end of the settings", lambda: not screen.find(SETTINGS))
    screen.window(MAIN)
    for value in ("PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"):
        stored = job.sandbox.get(OWN_KEY + r"\Programs", value)
        assert stored == (str(job.sandbox.editor) if value in ("PNG", "Text") else ""), value


class OpenedJob(Job):
    """The program as the desktop starts it, by an archive that a person opens."""

    def open(self, archive, share):
        self.screen.environment["XDG_DATA_DIRS"] = f"{share}:/usr/local/share:/usr/share"
        path = f"{self.sandbox.programs}:{self.screen.environment['PATH']}"
        environment = {**self.screen.environment, "PATH": path}
        subprocess.run(["gio", "open", str(archive)], env=environment, check=True)
        self.window = self.screen.window(MAIN)
        self.screen.settle()
        self.picture("opened", self.window)

    def close(self):
        self.screen.key("alt+F4")
        self.screen.wait("the program's end", lambda: not self.screen.find(MAIN))


def main():
    build, folder = Path(sys.argv[1]), Path(sys.argv[2]).resolve()
    prefix = folder / "prefix"
    install(build, prefix)
    sandbox = Sandbox(folder / "sandbox", prefix / "bin")
    # A program's path may hold blanks, and the one that the game's files get does.
    sandbox.editor = sandbox.editor.rename(sandbox.editor.parent / "my editor")
    with Screen(sandbox.environment, folder / "pictures") as screen:
        job = Job(screen, sandbox)
        try:
            job.see_no_game_message()
            archive = sandbox.install_game() / FILE
            job.see_splash()
            check_work_folders(sandbox, prefix)
            choose_programs(job)
            found = save_changes(job, archive)
            check_libraries(job.process, prefix)
            found += throw_away(job, archive)
            job.close()
        finally:
            job.stop()
        opened = OpenedJob(screen, sandbox)
        opened.open(archive, prefix / "share")
        opened.extract(SHOWN, Snapshot(archive))
        opened.cancel(SHOWN)
        opened.close()
    print("\n".join(found))


main()
