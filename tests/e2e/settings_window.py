"""Chooses programs in the settings window by keyboard alone, on a real X server, and edits with them.

usage: settings_window.py PROGRAMS FOLDER
"""

import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import BOX, MAIN, SETTINGS, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402
from tour import FILE, PICTURE, SCRIPT, SHOWN  # noqa: E402

VALUES = ("PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG")


def choose(screen, title, program):
    """Chooses a program in the open-file dialog of that title, by keyboard."""
    screen.window(title)
    screen.settle()
    screen.type(str(program))
    screen.settle()
    screen.key("Return")
    screen.wait(f"the end of {title}", lambda: not screen.find(title))
    screen.window(SETTINGS)
    screen.settle()


def check_it_stays(screen, window, main):
    """The window manager's request closes neither it nor the main window behind it."""
    screen.key("alt+F4")
    screen.settle()
    assert screen.find(SETTINGS) == window, "the settings window was closed"
    assert screen.find(MAIN) == main, "the main window was closed"


def set_programs(screen, job):
    """From the box that says that there is no program, through the settings, back."""
    screen.key("alt+e")
    screen.window(BOX)
    screen.settle()
    screen.key("Return")
    window = screen.window(SETTINGS)
    check_it_stays(screen, window, job.window)
    screen.key("alt+p", "Tab", "space")
    choose(screen, r"^PNG Editor\.\.\.$", job.sandbox.editor)
    screen.key("alt+t", "Tab", "space")
    choose(screen, r"^Text Editor\.\.\.$", job.sandbox.editor)
    job.picture("chosen", window)
    screen.key("alt+o")
    screen.wait("the end of the settings", lambda: not screen.find(SETTINGS))
    screen.window(MAIN)
    stored = {value: job.sandbox.get(OWN_KEY + r"\Programs", value) for value in VALUES}
    editor = str(job.sandbox.editor)
    expected = {value: editor if value in ("PNG", "Text") else "" for value in VALUES}
    assert stored == expected, stored


def main():
    sandbox = Sandbox(Path(sys.argv[2]) / "sandbox", sys.argv[1])
    # A program's path may hold blanks, and the one that the game's files get does.
    sandbox.editor = sandbox.editor.rename(sandbox.editor.parent / "my editor")
    with Screen(sandbox.environment, Path(sys.argv[2]) / "pictures") as screen:
        job = Job(screen, sandbox)
        try:
            archive = sandbox.install_game() / FILE
            before = Snapshot(archive)
            job.see_splash()
            job.pick(SHOWN)
            job.extract(SHOWN, before)
            job.go_to_tree()
            names = before.names_on_disk()
            job.select(Path(names[PICTURE]).name)
            set_programs(screen, job)
            edited = {}
            for name, picture in ((PICTURE, "picture"), (SCRIPT, "script")):
                job.select(Path(names[name]).name)
                edited[name] = job.edit(SHOWN, names[name], ["Return"], picture)
            job.save(SHOWN, archive)
            job.close()
        finally:
            job.stop()
        print("\n".join(compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]))


main()
