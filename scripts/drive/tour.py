"""The tour: edits and saves an archive in the real windows, with a screenshot of each step, and
checks the saved archive.

usage: tour.py PROGRAMS PICTURES [--scale N] [--dark] [--compositor NAME] [--sandbox FOLDER]
  PROGRAMS  the folder of orvel and orvel-reg
  PICTURES  the folder for the screenshots
"""

import argparse
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import MAIN, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Missed, Screen  # noqa: E402
from wayland import WaylandScreen  # noqa: E402

SHOWN, FILE = "My Map_pack", "My Map_pack.vl2"
SCRIPT, PICTURE = "scripts/autoexec/MapPack.cs", "textures\\skins\\team.png"
THROWN_AWAY = "readme.txt"


def first_start(job, sandbox):
    """Starts the program without and then with the sample game. Returns the archive to edit."""
    job.see_no_game_message()
    archive = sandbox.install_game() / FILE
    sandbox.use_stand_in_editor()
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    job.see_splash()
    return archive


def edit_files(job, archive):
    """Picks and extracts the archive, edits a script and a picture. Returns the archive's snapshot
    and the edited bytes by entry name."""
    before, edited = Snapshot(archive), {}
    job.pick(SHOWN)
    job.extract(SHOWN, before)
    for name, keys, picture in ((SCRIPT, "alt+e", "script"), (PICTURE, "Return", "picture")):
        path = before.names_on_disk()[name]
        job.select(Path(path).name)
        edited[name] = job.edit(SHOWN, path, [keys], picture)
    job.see_changes()
    return before, edited


def save_changes(job, archive):
    """Edits and saves the archive. Returns the checked facts."""
    before, edited = edit_files(job, archive)
    job.save(SHOWN, archive)
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


def throw_away(job, archive):
    """Extracts again, edits, cancels. Returns the checked facts."""
    before, snapshot = archive.read_bytes(), Snapshot(archive)
    job.extract(SHOWN, snapshot)
    job.select(THROWN_AWAY)
    job.edit(SHOWN, THROWN_AWAY, ["alt+e"], "thrown-away")
    job.cancel(SHOWN)
    if archive.read_bytes() != before:
        raise AssertionError(f"{archive} changed after Cancel")
    return ["after Cancel the archive is unchanged"]


def use_desktop(job, archive):
    """What the compositor decides: the window's size, and the focus of a program that is started.
    Returns the checked facts."""
    screen = job.screen
    screen.maximise()
    job.picture("maximise")
    if job.process.poll() is not None:
        raise AssertionError("the compositor has ended the program")
    job.sandbox.set(OWN_KEY + r"\Programs", "Text", "mousepad")
    job.extract(SHOWN, Snapshot(archive))
    edit_by_hand(job, THROWN_AWAY)
    screen.key("super+Tab")
    screen.window(MAIN)
    found = ["the window keeps its size, and mousepad gets the focus"]
    if screen.compositor == "sway":  # weston has no protocol for it
        edit_by_hand(job, SCRIPT)
        if not (job.sandbox.editor.parent / "stand-in-editor.token").read_text():
            raise AssertionError("the stand-in editor got no token to ask for the focus")
        found.append("a mousepad that runs already gets the focus")
    screen.key("ctrl+q")
    screen.window(MAIN)
    job.cancel(SHOWN)
    return found


def edit_by_hand(job, name):
    """Edits a file in mousepad, which shows that it has the focus."""
    screen, file = job.screen, job.work_folder(SHOWN) / name
    job.select(file.name)
    screen.key("alt+e")
    screen.wait("another window", lambda: not screen.is_active(MAIN))
    screen.settle()
    screen.type("by hand: ")
    screen.key("ctrl+s")
    screen.wait("a change by mousepad", lambda: file.read_bytes().startswith(b"by hand: "))
    job.picture("mousepad")


def whole_job(screen, sandbox, scale):
    """The whole tour, from a machine without the game to the exit of the program."""
    job = Job(screen, sandbox, scale)
    try:
        archive = first_start(job, sandbox)
        found = save_changes(job, archive)
        found += throw_away(job, archive)
        job.see_settings()
        if isinstance(screen, WaylandScreen):
            found += use_desktop(job, archive)
        job.close()
    finally:
        job.stop()
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("programs", type=Path)
    parser.add_argument("pictures", type=Path)
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--dark", action="store_true", help="with a desktop's dark colours")
    parser.add_argument("--compositor", choices=["sway", "weston"], help="of Wayland; default: X11")
    parser.add_argument("--sandbox", type=Path, help="the folder for settings and the sample game")
    options = parser.parse_args()
    pictures = options.pictures.resolve()
    sandbox = Sandbox(options.sandbox or pictures / "sandbox", options.programs)
    if options.dark:
        sandbox.use_dark_colours()
    size = f"{round(800 * options.scale)}x{round(640 * options.scale)}"
    try:
        display = Screen(sandbox.environment, pictures, size)
        if options.compositor:
            display = WaylandScreen(sandbox.environment, pictures, sandbox.folder / "orvel.log",
                                    size, options.compositor)
        with display as screen:
            found = whole_job(screen, sandbox, options.scale)
    except (Missed, AssertionError) as failure:
        print(f"The tour failed: {failure}", file=sys.stderr)
        return 1
    print(f"Checked in {FILE}, saved in the real windows at scale {options.scale:g}:")
    for sentence in found:
        print(f"  - {sentence}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
