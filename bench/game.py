"""The rows of the table that are measured on the game-like archive and on that of many entries."""

import os
import shutil

import make_archive
from contest import Contestant, contest
from place import sh

PYTHON_LIST = "import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).namelist()))"
PYTHON_EXTRACT = "import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])"
MANY = 100_000
CHANGED = "scripts/scripts_0007.cs"


def touch_all(folder):
    for parent, _, files in os.walk(folder):
        for name in files:
            os.utime(os.path.join(parent, name))


def change_one(folder):
    with open(os.path.join(folder, CHANGED), "ab") as file:
        file.write(b"// changed\r\n")


def change_every(folder):
    for parent, _, files in os.walk(folder):
        for name in files:
            with open(os.path.join(parent, name), "ab") as file:
                file.write(b"\r\n")


def not_syncing(spent, report):
    return spent - report["sync_ms"]


class Game:
    def __init__(self, place, figures):
        self.place, self.figures = place, figures
        self.archive = place.made("game.vl2", make_archive.make_game)
        self.tree = place.made("game-tree", lambda target: sh(place.tool, "extract", self.archive,
                                                              target))
        self.many = place.made("small-%d.vl2" % MANY,
                               lambda target: make_archive.make_small(target, MANY))

    def contest(self, *contestants):
        return contest(contestants, self.place.fresh(), self.place.rounds)

    def listing(self):
        ours, *peers = self.contest(
            self.place.ours("list", self.many),
            Contestant("7z l", lambda f: ["7z", "l", self.many]),
            Contestant("bsdtar -tf", lambda f: ["bsdtar", "-tf", self.many]),
            Contestant("Python zipfile", lambda f: ["python3", "-c", PYTHON_LIST, self.many]))
        for peer, goal in zip(peers, (20, 20, None)):
            self.figures.faster("list 100,000 entries, whole process", ours, peer, goal)

    def extraction(self):
        ours, *peers, copy = self.contest(
            self.place.ours("extract", self.archive, "{}/out"),
            Contestant("7z x", lambda f: ["7z", "x", "-y", "-o" + f + "/out", self.archive]),
            Contestant("bsdtar -xf", lambda f: ["bsdtar", "-xf", self.archive, "-C", f]),
            Contestant("Python zipfile",
                       lambda f: ["python3", "-c", PYTHON_EXTRACT, self.archive, f]),
            Contestant("cp -r of the tree", lambda f: ["cp", "-r", self.tree, f + "/out"]))
        work = "extract the game-like archive"
        for peer, goal in zip(peers, (2, 2, None)):
            self.figures.faster(work, ours, peer, goal)
        self.figures.share(work, ours, copy, 0.9)

    def edited(self, change=None, touch=False):
        """A preparation: the archive's copy and its work folder with `change` made to it."""
        def prepare(folder):
            shutil.copyfile(self.archive, folder + "/game.vl2")
            sh("cp", "-a", self.tree, folder + "/tree")
            if change:
                change(folder + "/tree")
            if touch:
                touch_all(folder + "/tree")
        return prepare

    def saver(self, change=None):
        return self.place.ours("save", "{}/game.vl2", "{}/tree", prepare=self.edited(change),
                               time_of=not_syncing)

    def saving_one(self):
        def update(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z u -tzip ../game.vl2 . -r', "sh", folder]

        def replace(folder):
            return ["sh", "-c", 'exec ziptool "$1/game.vl2" replace_file_contents "$2" '
                    '"$(cat "$1/tree/$3")"', "sh", folder, "6", CHANGED]

        def limit(folder):
            return ["sh", "-c", 'cp --reflink=never "$1/game.vl2" "$1/copy" && exec "$2" read '
                    '"$1/tree"', "sh", folder, self.place.tool]

        def copy(folder):
            shutil.copyfile(self.archive, folder + "/copy")

        ours, kept, touched, told, least, sync = self.contest(
            self.saver(change_one),
            Contestant("7z u, times kept", update, self.edited(change_one)),
            Contestant("7z u, times changed", update, self.edited(change_one, touch=True)),
            Contestant("ziptool, told which file", replace, self.edited(change_one)),
            Contestant("cp of the archive + read of the tree", limit, self.edited(change_one)),
            Contestant("sync of a copy of the archive", lambda f: ["sync", f + "/copy"], copy,
                       settle=False))
        work = "save, one file changed, syncing apart"
        self.figures.faster(work, ours, kept, 1.3)
        self.figures.faster(work, ours, touched, 10)
        self.figures.faster(work, ours, told, None)
        self.figures.share(work, ours, least, 1.5)
        syncing = Contestant("Orvel", ours.command)
        syncing.times = [report["sync_ms"] for report in ours.reports]
        self.figures.share("syncing of that save", syncing, sync, 1.1)

    def saving_every(self):
        def pack(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z a -tzip -mx5 ../new.vl2 . -r', "sh", folder]

        sizes = {}

        def noting(name, prepare):
            def prepared(folder):
                prepare(folder)
                sizes[name] = folder
            return prepared

        ours = self.saver(change_every)
        ours.prepare = noting("ours", ours.prepare)
        peer = Contestant("7z a -mx5", pack, noting("peer", self.edited(change_every)))
        # What a contest leaves is emptied at its end, so the sizes are taken in between.
        result = {}
        ours.time_of = lambda spent, report: (
            result.update(ours=os.path.getsize(sizes["ours"] + "/game.vl2")),
            not_syncing(spent, report))[1]
        peer.time_of = lambda spent, report: (
            result.update(peer=os.path.getsize(sizes["peer"] + "/new.vl2")), spent)[1]
        self.contest(ours, peer)
        self.figures.faster("save, every file changed, syncing apart", ours, peer, 2)
        self.figures.size("size, every file changed", result["ours"], peer.name, result["peer"], 1.01)

    def saving_nothing(self):
        ours, least = self.contest(
            self.saver(),
            Contestant("read of the tree", lambda f: [self.place.tool, "read", f + "/tree"],
                       self.edited()))
        self.figures.share("save, nothing changed", ours, least, 1.2)

    def clean_up(self):
        """Deletes, so nothing is measured after it."""
        def prepare(folder):
            sh("cp", "-a", self.tree, folder + "/tree")

        ours, peer = self.contest(
            self.place.ours("clean", self.archive, "{}/tree", prepare=prepare),
            Contestant("rm -r", lambda f: ["rm", "-r", f + "/tree"], prepare))
        self.figures.share("clean up the game-like work folder", ours, peer, None)
