"""Peak memory of whole cycles, and the time for each entry at different numbers of entries."""

import os
import statistics
import time

import make_archive
from environment import sh
from paired import empty, report_of

MEMORY_GOAL = 160   # MiB
GROWTH_LIMIT = 1.3  # highest by lowest time for each entry


def changed(path):
    def change(folder):
        with open(os.path.join(folder, path), "ab") as file:
            file.write(b"changed")
    return change


class Cycles:
    """List, extract, save with a change; the clean-up of all cycles is the last step."""

    def __init__(self, environment, figures):
        self.environment, self.figures = environment, figures
        self.pending = []  # work folders to clean up: name, archive, folder, record

    def run(self, name, archive, change, record):
        """One cycle without the clean-up. Calls `record` with each verb and the report of vl2bench.
        Returns the work folder."""
        folder = self.environment.new_path()
        os.makedirs(folder)
        copy, tree = folder + "/copy.vl2", folder + "/tree"
        sh("cp", "--reflink=never", archive, copy)
        for verb in ("list", "extract", "save"):
            if verb == "save":
                change(tree)
            self._step(name, verb, copy, tree, record)
        self.pending.append((name, copy, tree, record))
        return tree

    def clean_up(self):
        for name, copy, tree, record in self.pending:
            self._step(name, "clean", copy, tree, record)
        self.pending = []

    def _step(self, name, verb, copy, tree, record):
        os.sync()
        time.sleep(0.05)  # a save waits before it reads a file that was written just before
        arguments = [copy] if verb == "list" else [copy, tree]
        # Listing a small archive takes less time than loading the program's pages: it runs several
        # times in a row, and the first run does not count.
        for number in range(5 if verb == "list" else 1):
            report = report_of(sh(self.environment.tool, verb, *arguments))
            self.figures.memory(name, report["peak_kib"] / 1024, MEMORY_GOAL)
            if number > 0 or verb != "list":
                record(verb, report)


def memory_of_game(cycles, archive):
    empty(cycles.run("the game-like archive of 300 MB", archive, changed("gui/gui_0001.gui"),
                     lambda verb, report: None))


def memory_of_large(cycles, environment):
    """One entry of 5 GiB; its files are truncated at once to free disk space."""
    archive = environment.cached("large.vl2", make_archive.make_large)
    empty(cycles.run("one entry of 5 GiB", archive, changed("big.bin"), lambda verb, report: None))


class Growth:
    def __init__(self, cycles, environment, figures, counts):
        self.cycles, self.environment, self.figures = cycles, environment, figures
        self.counts = counts
        self.spent = {count: {} for count in counts}

    def run(self):
        """Alternating, since the same work may take a third longer some minutes later."""
        archives = {count: self.environment.cached(
            "small-%d.vl2" % count, lambda target, n=count: make_archive.make_small(target, n))
            for count in self.counts}
        for _ in range(3):
            for count in self.counts:
                for _ in range(3 if count <= 10_000 else 1):
                    self.cycles.run("%s small entries" % format(count, ","), archives[count],
                                    changed("data/group00000/entry000000.txt"), self._record(count))

    def _record(self, count):
        def record(verb, report):
            spent = (report["ms"] - report["sync_ms"]) * 1000 / count
            self.spent[count].setdefault(verb, []).append(spent)
        return record

    def report(self):
        """To be called after the clean-up."""
        for count in self.counts:
            self.figures.growth(count, {verb: statistics.median(times)
                                        for verb, times in self.spent[count].items()},
                                GROWTH_LIMIT)
