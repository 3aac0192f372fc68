"""The tour: the whole job in the real windows, a picture of each step, and what the archive holds.

usage: tour.py PROGRAMS PICTURES [--scale N] [--dark] [--sandbox FOLDER]
  PROGRAMS  the folder that holds orvel and orvel-reg
  PICTURES  the folder for the pictures
"""

import argparse
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Missed, Screen  # noqa: E402

SHOWN, FILE = "My Map_pack", "My Map_pack.vl2"
SCRIPT, PICTURE = "scripts/autoexec/MapPack.cs", "textures\\skins\\team.png"
THROWN_AWAY = "readme.txt"


def save_changes(job, archive):
    """Picks the archive, edits a script and a picture, saves; returns what was verified."""
    before = Snapshot(archive)
    job.pick(SHOWN)
    job.extract(SHOWN, before)
    job.go_to_tree()
    edited = {}
    for name, keys, picture in ((SCRIPT, "alt+e", "script"), (PICTURE, "Return", "picture")):
        path = before.names_on_disk()[name]
        job.select(Path(path).name)
        edited[name] = job.edit(SHOWN, path, [keys], picture)
    job.save(SHOWN, archive)
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


def throw_away(job, archive):
    """Extracts again, edits, cancels; returns what was verified."""
    before, snapshot = archive.read_bytes(), Snapshot(archive)
    job.extract(SHOWN, snapshot)
    job.select(THROWN_AWAY)
    job.edit(SHOWN, THROWN_AWAY, ["alt+e"], "thrown-away")
    job.cancel(SHOWN)
    if archive.read_bytes() != before:
        raise AssertionError(f"{archive} changed though Cancel was pressed")
    return ["after Cancel the archive is byte for byte what it was"]


def whole_job(screen, sandbox, scale):
    """Everything from a machine without the game to the program's end."""
    job = Job(screen, sandbox, scale)
    try:
        job.see_no_game_message()
        base = sandbox.install_game()
        sandbox.use_stand_in_editor()
        sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
        job.see_splash()
        found = save_changes(job, base / FILE)
        found += throw_away(job, base / FILE)
        job.see_settings()
        job.close()
    finally:
        job.stop()
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("programs", type=Path)
    parser.add_argument("pictures", type=Path)
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--dark", action="store_true", help="in a desktop's dark colours")
    parser.add_argument("--sandbox", type=Path, help="where settings and the sample game go")
    options = parser.parse_args()
    pictures = options.pictures.resolve()
    sandbox = Sandbox(options.sandbox or pictures / "sandbox", options.programs)
    if options.dark:
        sandbox.use_dark_colours()
    size = f"{round(800 * options.scale)}x{round(640 * options.scale)}"
    try:
        with Screen(sandbox.environment, pictures, size) as screen:
            found = whole_job(screen, sandbox, options.scale)
    except (Missed, AssertionError) as failure:
        print(f"The tour failed: {failure}", file=sys.stderr)
        return 1
    print(f"Verified in {FILE}, saved by the real windows at scale {options.scale:g}:")
    for sentence in found:
        print(f"  - {sentence}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
