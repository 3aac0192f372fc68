"""Memory over the whole cycle, and how its cost grows with the number of entries."""

import os
import statistics
import time

import make_archive
from contest import empty, report_of
from place import sh

MEMORY_GOAL = 160  # MiB
FLAT = 1.3         # most that an entry may cost, by what it costs in the archive where it is cheapest


def changed(path):
    def change(folder):
        with open(os.path.join(folder, path), "ab") as file:
            file.write(b"changed")
    return change


class Cycles:
    """List, extract, save with a change, and at the very end the clean-up of all."""

    def __init__(self, place, figures):
        self.place, self.figures = place, figures
        self.left = []  # work folders to clean up: name, archive, folder, what to do with a report

    def run(self, name, archive, change, note):
        """One cycle but for the clean-up; `note` gets each verb with what vl2bench says of it. Gives
        the work folder."""
        folder = self.place.fresh()
        os.makedirs(folder)
        copy, tree = folder + "/copy.vl2", folder + "/tree"
        sh("cp", "--reflink=never", archive, copy)
        for verb in ("list", "extract", "save"):
            if verb == "save":
                change(tree)
            self._step(name, verb, copy, tree, note)
        self.left.append((name, copy, tree, note))
        return tree

    def clean_up(self):
        for name, copy, tree, note in self.left:
            self._step(name, "clean", copy, tree, note)
        self.left = []

    def _step(self, name, verb, copy, tree, note):
        os.sync()
        time.sleep(0.05)  # a file that was written to just now is read a moment later
        arguments = [copy] if verb == "list" else [copy, tree]
        # Listing a small archive takes less than finding the program's own pages again: it is done
        # several times in a row, and all but the first count.
        for number in range(5 if verb == "list" else 1):
            report = report_of(sh(self.place.tool, verb, *arguments))
            self.figures.memory(name, report["peak_kib"] / 1024, MEMORY_GOAL)
            if number > 0 or verb != "list":
                note(verb, report)


def memory_of_game(cycles, archive):
    empty(cycles.run("the game-like archive of 300 MB", archive, changed("gui/gui_0001.gui"),
                     lambda verb, report: None))


def memory_of_large(cycles, place):
    """One entry of 5 GiB; its cycle is done at once, for the disk it takes."""
    archive = place.made("large.vl2", make_archive.make_large)
    empty(cycles.run("one entry of 5 GiB", archive, changed("big.bin"), lambda verb, report: None))


class Growth:
    def __init__(self, cycles, place, figures, counts):
        self.cycles, self.place, self.figures, self.counts = cycles, place, figures, counts
        self.spent = {count: {} for count in counts}

    def run(self):
        for count in self.counts:
            archive = self.place.made("small-%d.vl2" % count,
                                      lambda target, n=count: make_archive.make_small(target, n))
            for _ in range(9 if count <= 10_000 else 3):
                self.cycles.run("%s small entries" % format(count, ","), archive,
                                changed("data/group00000/entry000000.txt"), self._note(count))

    def _note(self, count):
        def note(verb, report):
            spent = (report["ms"] - report["sync_ms"]) * 1000 / count
            self.spent[count].setdefault(verb, []).append(spent)
        return note

    def tell(self):
        """To be called when the clean-up is done."""
        for count in self.counts:
            self.figures.growth(count, {verb: statistics.median(times)
                                        for verb, times in self.spent[count].items()}, FLAT)
