"""Times the main window: the pick of an archive of 100,000 entries, an extraction with its record, the
look for changed files."""

import os
import sys

from paired import Candidate, run_paired

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts",
                                "drive"))

from sandbox import GAME_KEY, OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402


def start_window(environment, archive):
    """A sandbox whose game holds one archive."""
    sandbox = Sandbox(environment.new_path(), environment.programs)
    game = sandbox.folder / "Tribes2"
    base = game / "GameData" / "base"
    base.mkdir(parents=True)
    os.link(archive, base / "many.vl2")
    sandbox.set(GAME_KEY, "directory", game)
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    return sandbox


def pickbench(environment, screen, *arguments, **options):
    setting = ["env"] + ["%s=%s" % (name, text) for name, text in screen.environment.items()
                         if os.environ.get(name) != text]
    program = os.path.join(environment.programs, "pickbench")
    return Candidate("Orvel", lambda f: setting + [program, *map(str, arguments)],
                     time_of=lambda spent, report: report["ms"], **options)


def picking(environment, figures, archive):
    sandbox = start_window(environment, archive)
    with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
        window = pickbench(environment, screen)
        bare = Candidate("bare listing", lambda f: [environment.tool, "list", archive])
        run_paired([window, bare], environment.new_path(), environment.rounds)
    if any(report["count"] != bare.reports[0]["count"] for report in window.reports):
        raise SystemExit("the window does not show all entries of the archive")
    window.command = lambda f: ["pickbench"]
    figures.share("pick to tree on screen, 100,000 entries", window, bare, 10)
    bound_gaps(figures, "longest time without response of the window", window, 100)


def extracting(environment, figures, archive):
    """The window lists the work folder, clears attributes and writes the record besides."""
    sandbox = start_window(environment, archive)
    with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
        window = pickbench(environment, screen, "--extract",
                           prepare=lambda f: sandbox.set(OWN_KEY, "tempdir", f))
        bare = environment.orvel("extract", archive, "{}/out")
        bare.name = "bare extraction"
        run_paired([window, bare], environment.new_path(), environment.rounds)
    if any(report["code"] != 0 for report in window.reports):
        raise SystemExit("the window does not extract the archive")
    window.command = lambda f: ["pickbench", "--extract"]
    figures.share("Extract in the window, game-like archive", window, bare, 1.3)
    bound_gaps(figures, "longest time without response during Extract", window, 100)


def looking(environment, figures, archive, changed):
    """From the return of the focus to the mark of a changed file."""
    sandbox = start_window(environment, archive)
    with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
        window = pickbench(environment, screen, sandbox.folder / "work" / "Many" / changed)
        run_paired([window], environment.new_path(), environment.rounds)
    if any(report["count"] != 1 for report in window.reports):
        raise SystemExit("the window does not mark the changed file")
    window.command = lambda f: ["pickbench", changed]
    figures.bound("focus to mark of a changed file, game-like archive", window, 500)
    bound_gaps(figures, "longest time without response meanwhile", window, 50)


def bound_gaps(figures, work, window, goal):
    gaps = Candidate("Orvel", window.command)
    gaps.times = [report["gap_ms"] for report in window.reports]
    figures.bound(work, gaps, goal)
