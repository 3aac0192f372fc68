"""Times the main window: the pick of an archive of 100,000 entries, each button from the press to the
end of its work, the look for changed files."""

import os
import sys

import make_archive
from environment import on_screen, sh
from paired import Candidate, files_in, in_process, run_paired

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
    program = os.path.join(environment.programs, "pickbench")
    return Candidate("Orvel", lambda f: [*on_screen(screen), program, *map(str, arguments)],
                     time_of=in_process, **options)


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


def append_to(paths):
    for path in paths:
        with open(path, "ab") as file:
            file.write(b"\r\n")


# What is done to the extracted files before a button is pressed.
EDITS = {"nothing changed": lambda files: None,
         "one file changed": lambda files: append_to(files[:1]),
         "all files changed": append_to}


# The least that a safe save may cost: the archive and its folder.
TWICE = "write and sync, twice"


class Buttons:
    """Each button of an archive that the user works on, from the press to the end of its work, beside
    what another tool needs for the same."""

    def __init__(self, environment, figures, screen, sandbox, name, archive, rounds):
        self.environment, self.figures, self.screen, self.sandbox = environment, figures, screen, sandbox
        self.name, self.archive, self.rounds = name, archive, rounds
        self.is_small = os.path.getsize(archive) < 1 << 20
        self.listed = sandbox.folder / "Tribes2" / "GameData" / "base" / "many.vl2"
        for kind in ("Text", "PNG", "WAV"):
            sandbox.set(OWN_KEY + r"\Programs", kind, "/bin/true")

    def fresh(self, folder):
        self.listed.unlink(missing_ok=True)
        os.link(self.archive, self.listed)  # a save replaces the link
        self.sandbox.set(OWN_KEY, "tempdir", folder)

    def extracted(self, edit):
        def prepare(folder):
            self.fresh(folder)
            sh(os.path.join(self.environment.programs, "pickbench"), "--press", "cmdExtract",
               env=self.screen.environment)
            EDITS[edit](sorted(files_in(folder + "/Many")))
        return prepare

    def tree(self, edit):
        """The same for other tools."""
        def prepare(folder):
            sh("cp", self.archive, folder + "/game.vl2")
            sh(self.environment.tool, "extract", self.archive, folder + "/tree")
            EDITS[edit](sorted(files_in(folder + "/tree")))
        return prepare

    def row(self, work, button, prepare, *peers, limit=None):
        window = pickbench(self.environment, self.screen, "--press", button, prepare=prepare)
        run_paired([window, *peers], self.environment.new_path(), self.rounds)
        window.command = lambda f: ["pickbench", "--press", button]
        work = "window: %s, %s" % (work, self.name)
        if limit:
            self.figures.bound(work, window, limit)
        for peer in peers:
            if peer.name == TWICE:
                self.figures.share(work, window, peer, 1.3)
            elif peer.name.startswith("bare "):
                self.figures.added(work, window, peer, 1.1, 20)
            else:
                self.figures.faster(work, window, peer, None)

    def bare(self, name, *words, prepare=None):
        """The same work without the window."""
        peer = self.environment.orvel(*words, prepare=prepare, time_of=in_process)
        peer.name = name
        return peer

    def recorded(self, edit):
        def prepare(folder):
            self.tree("nothing changed")(folder)
            sh(self.environment.tool, "record", folder + "/game.vl2", folder + "/tree")
            EDITS[edit](sorted(files_in(folder + "/tree")))
        return prepare

    def save_peers(self, edit):
        yield self.bare("bare save and clean-up", "save-and-clean", "{}/game.vl2", "{}/tree",
                        prepare=self.recorded(edit))
        if self.is_small and edit != "nothing changed":  # a process of 7z takes longer to start
            yield self.bare(TWICE, "write-twice", self.archive, "{}")
        else:
            yield Candidate("7z u, sync, rm -r", lambda f: [
                "sh", "-c", 'cd "$1/tree" && 7z u -tzip ../game.vl2 . -r && sync ../game.vl2 && '
                'exec rm -r "$1/tree"', "sh", f], self.tree(edit))

    def run(self):
        self.row("Extract", "cmdExtract", self.fresh,
                 self.bare("bare extraction", "extract", self.archive, "{}/out"))
        self.row("Edit File", "cmdEditFile", self.extracted("nothing changed"), limit=50)
        for edit in EDITS:
            self.row("Save Changes, " + edit, "cmdSaveChanges", self.extracted(edit),
                     *self.save_peers(edit))
        self.row("Cancel", "cmdCancel", self.extracted("nothing changed"),
                 self.bare("bare clean-up", "cancel", self.archive, "{}/tree",
                           prepare=self.recorded("nothing changed")),
                 Candidate("rm -r", lambda f: ["rm", "-r", f + "/tree"], self.tree("nothing changed")))


def pressing(environment, figures, game):
    median = environment.cached("median.vl2", make_archive.make_median)
    # Each round of the large ones takes a minute to prepare.
    for name, archive, rounds in (("game-like archive", game.archive, min(3, environment.rounds)),
                                  ("100,000 entries", game.many, 1),
                                  ("4 entries", median, environment.rounds)):
        sandbox = start_window(environment, archive)
        with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
            Buttons(environment, figures, screen, sandbox, name, archive, rounds).run()


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
