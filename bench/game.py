"""The table rows that are measured on the game-like archive and on the archive of many entries."""

import os
import shutil
import subprocess
import sys

import make_archive
from environment import sh
from paired import Candidate, files_in, in_process, run_paired

PYTHON_LIST = "import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).namelist()))"
PYTHON_EXTRACT = "import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])"
MANY = 100_000
CHANGED = "scripts/scripts_0007.cs"


def touch_all(folder):
    for path in files_in(folder):
        os.utime(path)


def change_one(folder):
    with open(os.path.join(folder, CHANGED), "ab") as file:
        file.write(b"// changed\r\n")


def change_every(folder):
    for path in files_in(folder):
        with open(path, "ab") as file:
            file.write(b"\r\n")


def without_sync(spent, report):
    return spent - report["sync_ms"]


class Game:
    def __init__(self, environment, figures):
        self.environment, self.figures = environment, figures
        self.archive = environment.cached("game.vl2", make_archive.make_game)
        self.tree = environment.cached("game-tree", lambda target: sh(
            environment.tool, "extract", self.archive, target))

    @property
    def many(self):
        return self.environment.cached("small-%d.vl2" % MANY,
                                       lambda target: make_archive.make_small(target, MANY))

    def compare(self, *candidates):
        return run_paired(candidates, self.environment.new_path(), self.environment.rounds)

    def listing(self):
        ours, *peers = self.compare(
            self.environment.orvel("list", self.many),
            Candidate("7z l", lambda f: ["7z", "l", self.many]),
            Candidate("bsdtar -tf", lambda f: ["bsdtar", "-tf", self.many]),
            Candidate("Python zipfile", lambda f: [sys.executable, "-c", PYTHON_LIST, self.many]))
        for peer, goal in zip(peers, (20, 20, None)):
            self.figures.faster("list 100,000 entries, whole process", ours, peer, goal)

    def extraction(self):
        ours, *peers, copy = self.compare(
            self.environment.orvel("extract", self.archive, "{}/out"),
            Candidate("7z x", lambda f: ["7z", "x", "-y", "-o" + f + "/out", self.archive]),
            Candidate("bsdtar -xf", lambda f: ["bsdtar", "-xf", self.archive, "-C", f]),
            Candidate("Python zipfile",
                       lambda f: [sys.executable, "-c", PYTHON_EXTRACT, self.archive, f]),
            Candidate("cp -r of the tree", lambda f: ["cp", "-r", self.tree, f + "/out"]))
        work = "extract the game-like archive"
        for peer, goal in zip(peers, (2, 2, None)):
            self.figures.faster(work, ours, peer, goal)
        self.figures.share(work, ours, copy, 0.9)

    def edited(self, change=None, touch=False):
        """Returns a function that copies the archive and its work folder, and applies `change`."""
        def prepare(folder):
            shutil.copyfile(self.archive, folder + "/game.vl2")
            sh("cp", "-r", "--preserve=timestamps", self.tree, folder + "/tree")
            if change:
                change(folder + "/tree")
            if touch:
                touch_all(folder + "/tree")
        return prepare

    def saver(self, change=None):
        return self.environment.orvel("save", "{}/game.vl2", "{}/tree", prepare=self.edited(change),
                               time_of=without_sync)

    def window_saver(self, change=None, **options):
        """A save that knows the extracted files, as the window's does."""
        def prepare(folder):
            self.edited()(folder)
            sh(self.environment.tool, "record", folder + "/game.vl2", folder + "/tree")
            if change:
                change(folder + "/tree")
        return self.environment.orvel("save-extracted", "{}/game.vl2", "{}/tree", prepare=prepare,
                                      **options)

    def saving_one(self):
        def update(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z u -tzip ../game.vl2 . -r', "sh", folder]

        def replace(folder):
            return ["sh", "-c", 'exec ziptool "$1/game.vl2" replace_file_contents "$2" '
                    '"$(cat "$1/tree/$3")"', "sh", folder, "6", CHANGED]

        def limit(folder):
            return ["sh", "-c", 'cp --reflink=never "$1/game.vl2" "$1/copy" && exec "$2" read '
                    '"$1/tree"', "sh", folder, self.environment.tool]

        def copy(folder):
            shutil.copyfile(self.archive, folder + "/copy")

        ours, window, kept, touched, named, least, sync = self.compare(
            self.saver(change_one),
            self.window_saver(change_one, time_of=without_sync),
            Candidate("7z u, times kept", update, self.edited(change_one)),
            Candidate("7z u, times changed", update, self.edited(change_one, touch=True)),
            Candidate("ziptool, file given", replace, self.edited(change_one)),
            Candidate("cp of the archive + read of the tree", limit, self.edited(change_one)),
            Candidate("sync of a copy of the archive", lambda f: ["sync", f + "/copy"], copy,
                       settle=False))
        work = "save, one file changed, without sync"
        self.figures.faster(work, ours, kept, 1.3)
        self.figures.faster(work, ours, touched, 10)
        self.figures.faster(work, ours, named, None)
        self.figures.share(work, ours, least, 1.5)
        extracted = "save, one of the extracted files changed, without sync"
        self.figures.faster(extracted, window, kept, 1.5)
        self.figures.share(extracted, window, least, 1.2)
        syncing = Candidate("Orvel", ours.command)
        syncing.times = [report["sync_ms"] for report in ours.reports]
        self.figures.share("sync of that save", syncing, sync, 1.1)

    def saving_every(self):
        def pack(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z a -tzip -mx5 ../new.vl2 . -r', "sh", folder]

        sizes = {}

        def measured(candidate, archive):
            """Records the size of the new archive, since the files are truncated after a round."""
            prepare, time_of = candidate.prepare, candidate.time_of

            def prepared(folder):
                prepare(folder)
                candidate.time_of = lambda spent, report: (
                    sizes.update({candidate: os.path.getsize(folder + archive)}),
                    time_of(spent, report))[1]
            candidate.prepare = prepared
            return candidate

        ours, peer = self.compare(
            measured(self.saver(change_every), "/game.vl2"),
            measured(Candidate("7z a -mx5", pack, self.edited(change_every)), "/new.vl2"))
        self.figures.faster("save, every file changed, without sync", ours, peer, 2)
        self.figures.size("size, every file changed", sizes[ours], peer.name, sizes[peer], 1.01)

    def saving_nothing(self):
        ours, window, least = self.compare(
            self.saver(),
            self.window_saver(time_of=without_sync),
            Candidate("read of the tree", lambda f: [self.environment.tool, "read", f + "/tree"],
                       self.edited()))
        self.figures.share("save, nothing changed", ours, least, 1.2)
        self.figures.share("save, no extracted file changed", window, least, 1.1)

    def against_copies(self):
        """What a disk costs anyway: copies of the same files, with the sync. A save may have to read the
        files too, if their times prove nothing there. Returns what is compared: extraction, copies of the
        files; save, copy of the archive, copy and read."""
        # Where a copy can share its blocks with the original, it has to be told to write them. Elsewhere
        # that would forbid it the copy by the system, too, and slow it down.
        shares = subprocess.run(["cp", "--reflink=always", self.archive, self.environment.new_path()],
                                stderr=subprocess.DEVNULL, check=False).returncode == 0
        cp = "cp --reflink=never" if shares else "cp"

        def copy(folder, more=""):
            return ["sh", "-c", cp + ' "$1/game.vl2" "$1/copy" && sync "$1/copy"' + more,
                    "sh", folder, self.environment.tool]

        extraction = self.compare(
            self.environment.orvel("extract", self.archive, "{}/out", time_of=in_process),
            Candidate("cp -r of the tree", lambda f: [*cp.split(), "-r", self.tree, f + "/out"]))
        self.figures.share("extract the game-like archive", *extraction, 1.2)
        saving = self.compare(
            self.window_saver(change_one, time_of=in_process),
            Candidate("cp and sync of the archive", copy, self.edited()),
            Candidate("cp, sync, read of the tree", lambda f: copy(f, ' && exec "$2" read "$1/tree"'),
                      self.edited()))
        work = "save, one of the extracted files changed, with sync"
        self.figures.share(work, *saving[:2], 1.2)
        self.figures.share(work, saving[0], saving[2], None)
        return (*extraction, *saving)

    def clean_up(self):
        """Must be the last measurement, since it deletes files."""
        def prepare(folder):
            sh("cp", "-r", "--preserve=timestamps", self.tree, folder + "/tree")

        ours, peer = self.compare(
            self.environment.orvel("clean", self.archive, "{}/tree", prepare=prepare),
            Candidate("rm -r", lambda f: ["rm", "-r", f + "/tree"], prepare))
        self.figures.share("clean up the game-like work folder", ours, peer, 0.6)

        def prepare_cancel(folder):
            prepare(folder)
            sh(self.environment.tool, "record", self.archive, folder + "/tree")
            change_one(folder + "/tree")

        cancelled, cleaned = self.compare(
            self.environment.orvel("cancel", self.archive, "{}/tree", prepare=prepare_cancel),
            Candidate("clean-up", lambda f: [self.environment.tool, "clean", self.archive,
                                             f + "/tree"], prepare_cancel))
        self.figures.share("cancel, one file changed, which goes to the trash", cancelled, cleaned,
                           1.2)
