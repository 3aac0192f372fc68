"""From the key that picks an archive of 100,000 entries to its tree on the screen."""

import os
import sys

from contest import Contestant, contest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts",
                                "drive"))

from place import sh  # noqa: E402
from screen import Screen  # noqa: E402

GAME = r"SOFTWARE\Sierra Online\Setup\Tribes2"
PROGRAM = r"SOFTWARE\Voxhollow\Game Editors\Tribes2\Orvel"


def picking(place, figures, archive):
    home = place.fresh()
    base = os.path.join(home, "Tribes2", "GameData", "base")
    os.makedirs(base)
    os.link(archive, os.path.join(base, "many.vl2"))
    environment = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home + "/config",
                       XDG_DATA_HOME=home + "/data", WINEPREFIX=home + "/wine",
                       XDG_RUNTIME_DIR=home)
    for key, name, text in ((GAME, "directory", home + "/Tribes2"),
                            (PROGRAM, "tempdir", home + "/work")):
        sh(os.path.join(place.programs, "orvel-reg"), "add", key, name, text, env=environment)
    with Screen(environment, os.path.join(home, "pictures")) as screen:
        setting = ["env"] + ["%s=%s" % (name, text) for name, text in screen.environment.items()
                             if os.environ.get(name) != text]
        window = Contestant("Orvel", lambda f: setting + [os.path.join(place.programs, "pickbench")],
                            time_of=lambda spent, report: report["ms"])
        bare = Contestant("bare listing", lambda f: [place.tool, "list", archive])
        contest([window, bare], place.fresh(), place.rounds)
    if any(report["count"] != bare.reports[0]["count"] for report in window.reports):
        raise SystemExit("the window does not show what the archive holds")
    window.command = lambda f: ["pickbench"]
    figures.share("pick to tree on screen, 100,000 entries", window, bare, 10)
    gaps = Contestant("Orvel", window.command)
    gaps.times = [report["gap_ms"] for report in window.reports]
    figures.bound("longest stall of the window meanwhile", gaps, 100)
