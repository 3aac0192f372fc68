"""Times the main window from the key that picks an archive of 100,000 entries to the shown tree."""

import os
import sys

from paired import Candidate, run_paired

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts",
                                "drive"))

from sandbox import GAME_KEY, OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402


def picking(environment, figures, archive):
    sandbox = Sandbox(environment.new_path(), environment.programs)
    game = sandbox.folder / "Tribes2"
    base = game / "GameData" / "base"
    base.mkdir(parents=True)
    os.link(archive, base / "many.vl2")
    sandbox.set(GAME_KEY, "directory", game)
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
        setting = ["env"] + ["%s=%s" % (name, text) for name, text in screen.environment.items()
                             if os.environ.get(name) != text]
        program = os.path.join(environment.programs, "pickbench")
        window = Candidate("Orvel", lambda f: setting + [program],
                           time_of=lambda spent, report: report["ms"])
        bare = Candidate("bare listing", lambda f: [environment.tool, "list", archive])
        run_paired([window, bare], environment.new_path(), environment.rounds)
    if any(report["count"] != bare.reports[0]["count"] for report in window.reports):
        raise SystemExit("the window does not show all entries of the archive")
    window.command = lambda f: ["pickbench"]
    figures.share("pick to tree on screen, 100,000 entries", window, bare, 10)
    gaps = Candidate("Orvel", window.command)
    gaps.times = [report["gap_ms"] for report in window.reports]
    figures.bound("longest time without response of the window", gaps, 100)
