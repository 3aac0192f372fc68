"""Installs the build into a folder of its own and does the whole job with what was installed.

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
from job import MAIN  # noqa: E402
from sandbox import Sandbox  # noqa: E402
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
    with Screen(sandbox.environment, folder / "pictures") as screen:
        job = Job(screen, sandbox)
        try:
            job.see_no_game_message()
            archive = sandbox.install_game() / FILE
            sandbox.use_stand_in_editor()
            job.see_splash()
            check_work_folders(sandbox, prefix)
            found = save_changes(job, archive)
            check_libraries(job.process, prefix)
            found += throw_away(job, archive)
            job.see_settings()
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
