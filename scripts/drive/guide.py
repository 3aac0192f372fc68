"""Updates the screenshots of the guide and the README from the real windows.

usage: guide.py PROGRAMS IMAGES
  PROGRAMS  the folder of orvel and orvel-reg
  IMAGES    the folder for the screenshots: docs/images
"""

import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from job import BOX, MAIN, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402
from tour import SHOWN, edit_files, first_start  # noqa: E402

# Typical programs for the settings window; they need not be installed.
PROGRAMS = {
    "PNG": "/usr/bin/gimp",
    "JPG": "/usr/bin/gimp",
    "GIF": "/usr/bin/gimp",
    "BMP": "/usr/bin/gimp",
    "Text": "/usr/bin/mousepad",
    "WAV": "/usr/bin/audacity",
    "AVI": "/usr/bin/kdenlive",
}

# Names of the kept screenshots, by their names during the run.
KEPT = {
    "no-game": "no-game",
    "drop-down": "choose",
    "listed": "listed",
    "script": "edit",
    "picture": "main",
    "no-program": "no-program",
    "saved": "saved",
    "settings": "settings",
}


def job_with_pictures(screen, sandbox, scale):
    job = Job(screen, sandbox, scale)
    try:
        archive = first_start(job, sandbox)
        edit_files(job, archive)
        job.select("team.jpg")
        screen.key("Return")
        box = screen.window(BOX)
        screen.settle()
        job.picture("no-program", box)
        screen.key("Escape")
        screen.window(MAIN)
        job.save(SHOWN, archive)
        for value, program in PROGRAMS.items():
            sandbox.set(OWN_KEY + r"\Programs", value, program)
        job.see_settings()
        job.close()
    finally:
        job.stop()


def keep(picture, target):
    """Stores a screenshot with a palette of 200 colours, which makes it small."""
    subprocess.run(
        ["convert", str(picture), "-strip", "+dither", "-colors", "200", f"PNG8:{target}"], check=True
    )


def main(programs, images):
    for scale, suffix in ((1, ""), (2, "@2x")):
        with tempfile.TemporaryDirectory() as folder:
            pictures = Path(folder) / "pictures"
            sandbox = Sandbox(Path(folder) / "sandbox", programs)
            with Screen(sandbox.environment, pictures, f"{800 * scale}x{640 * scale}") as screen:
                job_with_pictures(screen, sandbox, scale)
            for picture in sorted(pictures.glob("*.png")):
                name = KEPT.get(picture.stem.partition("-")[2])
                if name and (scale == 1 or name in ("main", "settings")):
                    keep(picture, images / f"{name}{suffix}.png")


main(*map(Path, sys.argv[1:]))
