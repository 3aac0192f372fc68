#!/usr/bin/env python3
"""Orvel's two companion libraries beside the tools that a modder would use instead.

    run.py --bin FOLDER --work FOLDER [--rounds N] [--write docs/performance.md] [--large] [--quick]

Prints a table of ratios, each from one run on this machine, and writes it with --write. --large
adds one entry of 5 GiB, which takes some minutes and 16 GB of disk; --quick leaves out the sizes
beyond 10,000 entries and runs three rounds, to see that everything works.
"""

import argparse
import datetime
import os
import platform
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import make_archive  # noqa: E402
from contest import Contestant, contest, report_of  # noqa: E402
from rows import Figures  # noqa: E402


def sh(*arguments, **options):
    return subprocess.run(arguments, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


class Bench:
    def __init__(self, options):
        self.tool = os.path.join(options.bin, "vl2bench")
        self.work = os.path.abspath(options.work)
        self.rounds = 3 if options.quick else options.rounds
        self.options = options
        self.figures = Figures()
        os.makedirs(self.work, exist_ok=True)
        self.scratch = os.path.join(self.work, "scratch")
        self.cycles = 0
        self.sweep_scratch()

    def sweep_scratch(self):
        for name in os.listdir(self.work):
            if name.startswith("scratch"):
                shutil.rmtree(os.path.join(self.work, name))

    def path(self, *parts):
        return os.path.join(self.work, *parts)

    def made(self, name, make):
        target = self.path(name)
        if not os.path.exists(target):
            make(target + ".new")
            os.rename(target + ".new", target)
        return target

    def ours(self, verb, *arguments, **options):
        return Contestant("Orvel", lambda folder: [self.tool, verb] + [
            a.replace("{}", folder) for a in arguments], **options)

    def tree(self, name, archive):
        return self.made(name, lambda target: sh(self.tool, "extract", archive, target))

    # The parts of the table, in its order.

    def listing(self):
        archive = self.made("small-100000.vl2", lambda t: make_archive.make_small(t, 100_000))
        python = "import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).namelist()))"
        ours, *peers = contest([
            self.ours("list", archive),
            Contestant("7z l", lambda f: ["7z", "l", archive]),
            Contestant("bsdtar -tf", lambda f: ["bsdtar", "-tf", archive]),
            Contestant("Python zipfile", lambda f: [sys.executable, "-c", python, archive]),
        ], self.scratch, self.rounds)
        for peer, goal in zip(peers, (20, 20, None)):
            self.figures.faster("list 100,000 entries, whole process", ours, peer, goal)

    def extraction(self, game, tree):
        python = "import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])"
        ours, *peers, copy = contest([
            self.ours("extract", game, "{}/out"),
            Contestant("7z x", lambda f: ["7z", "x", "-y", "-o" + f + "/out", game]),
            Contestant("bsdtar -xf", lambda f: ["bsdtar", "-xf", game, "-C", f]),
            Contestant("Python zipfile", lambda f: [sys.executable, "-c", python, game, f]),
            Contestant("cp -r of the tree", lambda f: ["cp", "-r", tree, f + "/out"]),
        ], self.scratch, self.rounds)
        work = "extract the game-like archive"
        for peer, goal in zip(peers, (2, 2, None)):
            self.figures.faster(work, ours, peer, goal)
        self.figures.share(work, ours, copy, 0.9)

    def edited(self, tree, change, touch=False):
        """A preparation: the archive's copy and its work folder with `change` made to it."""
        def prepare(folder):
            shutil.copyfile(self.path("game.vl2"), folder + "/game.vl2")
            sh("cp", "-a", tree, folder + "/tree")
            change(folder + "/tree")
            if touch:
                for parent, _, files in os.walk(folder + "/tree"):
                    for name in files:
                        os.utime(os.path.join(parent, name))
        return prepare

    def saving(self, tree):
        def one(folder):
            with open(folder + "/scripts/scripts_0007.cs", "ab") as file:
                file.write(b"// changed\r\n")

        def every(folder):
            for parent, _, files in os.walk(folder):
                for name in files:
                    with open(os.path.join(parent, name), "ab") as file:
                        file.write(b"\r\n")

        def nothing(folder):
            del folder

        def update(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z u -tzip ../game.vl2 . -r', "sh", folder]

        def limit(folder):
            return ["sh", "-c", 'cp --reflink=never "$1/game.vl2" "$1/copy" && exec "$2" read '
                    '"$1/tree"', "sh", folder, self.tool]

        def read(folder):
            return [self.tool, "read", folder + "/tree"]

        def pack(folder):
            return ["sh", "-c", 'cd "$1/tree" && exec 7z a -tzip -mx5 ../new.vl2 . -r', "sh", folder]

        def save():
            return dict(without_sync=True)

        ours, kept, touched, least = contest([
            self.ours("save", "{}/game.vl2", "{}/tree", prepare=self.edited(tree, one), **save()),
            Contestant("7z u, times kept", update, self.edited(tree, one)),
            Contestant("7z u, times changed", update, self.edited(tree, one, touch=True)),
            Contestant("cp of the archive + read of the tree", limit, self.edited(tree, one)),
        ], self.scratch, self.rounds)
        work = "save, one file changed, syncing apart"
        self.figures.faster(work, ours, kept, 1.3)
        self.figures.faster(work, ours, touched, 10)
        self.figures.share(work, ours, least, 1.5)
        self.syncing(tree, one, ours)

        ours, all_new = contest([
            self.ours("save", "{}/game.vl2", "{}/tree", prepare=self.edited(tree, every), **save()),
            Contestant("7z a -mx5", pack, self.edited(tree, every)),
        ], self.scratch, self.rounds)
        self.figures.faster("save, every file changed, syncing apart", ours, all_new, 2)
        self.sizes(tree, every, pack)

        ours, least = contest([
            self.ours("save", "{}/game.vl2", "{}/tree", prepare=self.edited(tree, nothing), **save()),
            Contestant("read of the tree", read, self.edited(tree, nothing)),
        ], self.scratch, self.rounds)
        self.figures.share("save, nothing changed", ours, least, 1.2)

    def syncing(self, tree, change, ours):
        del tree, change
        times = sorted(report["sync_ms"] for report in ours.reports)
        ours_sync = Contestant("Orvel", None)
        ours_sync.times = times
        peer, = contest([Contestant(
            "sync of a copy of the archive", lambda f: ["sync", f + "/copy"],
            lambda f: (os.sync(), shutil.copyfile(self.path("game.vl2"), f + "/copy")))],
            self.scratch, self.rounds)
        self.figures.share("syncing of a save", ours_sync, peer, 1.1)

    def sizes(self, tree, every, pack):
        folder = self.scratch
        os.makedirs(folder)
        self.edited(tree, every)(folder)
        sh(*pack(folder))
        sh(self.tool, "save", folder + "/game.vl2", folder + "/tree")
        self.figures.size("size, every file changed", os.path.getsize(folder + "/game.vl2"),
                          "7z a -mx5", os.path.getsize(folder + "/new.vl2"), 1.01)
        shutil.rmtree(folder)

    def clean_up(self, game, tree):
        ours, peer = contest([
            self.ours("clean", game, "{}/tree",
                      prepare=lambda f: sh("cp", "-a", tree, f + "/tree")),
            Contestant("rm -r", lambda f: ["rm", "-r", f + "/tree"],
                       lambda f: sh("cp", "-a", tree, f + "/tree")),
        ], self.scratch, self.rounds)
        self.figures.share("clean up the game-like work folder", ours, peer, None)

    def cycle(self, name, archive, change):
        """List, extract, save with a change and clean up; the largest peak memory and the times."""
        self.cycles += 1
        folder = "%s-%d" % (self.scratch, self.cycles)
        os.makedirs(folder)
        copy = folder + "/copy.vl2"
        shutil.copyfile(archive, copy)
        reports = {}
        for verb in ("list", "extract", "save", "clean"):
            if verb == "save":
                change(folder + "/tree")
            os.sync()
            arguments = [copy] if verb == "list" else [copy, folder + "/tree"]
            reports[verb] = report_of(sh(self.tool, verb, *arguments))
        peak = max(report["peak_kib"] for report in reports.values()) / 1024
        self.figures.memory(name, peak, 160)
        return reports

    def growth(self):
        def change(folder):
            with open(folder + "/data/group00000/entry000000.txt", "ab") as file:
                file.write(b"changed")

        for count in (1_000, 10_000) if self.options.quick else (1_000, 10_000, 100_000, 500_000):
            archive = self.made("small-%d.vl2" % count,
                                lambda t, n=count: make_archive.make_small(t, n))
            best = {}
            for _ in range(5 if count <= 10_000 else 3):
                for verb, report in self.cycle("%s entries" % format(count, ","), archive,
                                               change).items():
                    spent = (report["ms"] - report["sync_ms"]) * 1000 / count
                    best.setdefault(verb, []).append(spent)
            self.figures.growth(count, {verb: sorted(t)[len(t) // 2] for verb, t in best.items()})

    def large(self):
        def change(folder):
            with open(folder + "/big.bin", "ab") as file:
                file.write(b"changed")

        archive = self.made("large.vl2", make_archive.make_large)
        self.cycle("one entry of 5 GiB", archive, change)

    def run(self):
        game = self.made("game.vl2", make_archive.make_game)
        tree = self.tree("game-tree", game)
        self.listing()
        self.extraction(game, tree)
        self.saving(tree)
        self.clean_up(game, tree)
        self.cycle("300 MB archive", game, lambda f: open(f + "/gui/gui_0001.gui", "ab").write(b"x"))
        if self.options.large:
            self.large()
        self.growth()


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = next((line.split(":")[1].strip() for line in file if line.startswith("model name")),
                     platform.machine())
    return "%d x %s, Linux %s" % (os.cpu_count(), model, platform.release().split("-")[0])


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--write")
    parser.add_argument("--large", action="store_true")
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    bench = Bench(options)
    bench.run()
    bench.sweep_scratch()
    text = bench.figures.text(machine(), datetime.date.today().isoformat(), bench.rounds,
                              options.large)
    print(text)
    if options.write:
        with open(options.write, "w", encoding="utf-8") as file:
            file.write(text)
    sys.exit(0 if bench.figures.met() else 1)


if __name__ == "__main__":
    main()
