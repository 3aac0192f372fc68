"""The figures of a run, and the report page."""

import re
import sys

HEAD = """# Performance

Orvel compared with other tools in one run on one machine: whole processes, alternating, warm cache,
medians of {rounds} rounds after a warm-up, but one round for the window with 100,000 entries. The ratios are
the result; the times depend on this machine and its load. The range in parentheses is that of Orvel's own
rounds. The column "Runs" gives the least and the greatest ratio of all runs on the dates below.

- Machine: {machine}
- Dates: {dates}; the times are those of the last one
- Command: `{command}` (its output is this page)

The disk was new: on one without a journal ext4 creates files slowly for minutes after files were
deleted.
"""

NOTES = """
"Without sync": a save syncs the new archive before it replaces the old one, the other tools do not.
The sync has a row of its own. `7z u` with times kept trusts file times; Orvel compares contents.
"Read of the tree" reads each file of the work folder, with one thread for each processor.
"""

MEMORY = """
## Memory

Peak resident memory of list, extract, save (one file changed) and clean-up.

| Archive | Peak | Target |
|---|---|---|
"""

GROWTH = """
## Growth

Microseconds for each entry (files of 40 to 700 bytes in folders of 200; without sync and process
start), and the ratio of the highest to the lowest: target at most {limit:g}.

"""

COMMANDS = """
## Commands

`vl2bench` calls the two zip libraries through their C interface. `pickbench` shows the main window
on a virtual display and presses the key. `bench/make_archive.py` creates the archives; their bytes
are the same on every machine. Files are deleted as late as possible.

"""


NUMBER = re.compile(r"-?[0-9]+(?:\.[0-9]+)?")


class EarlierRuns:
    """What the page says already: the dates of its runs, and the range of each ratio."""

    def __init__(self, page):
        found = re.search(r"^- Dates?:.*", page, re.MULTILINE)
        self.dates = re.findall(r"[0-9]+-[0-9]+-[0-9]+", found.group()) if found else []
        self.ranges = {}
        for line in page.splitlines():
            cells = [cell.strip(" *") for cell in line.strip().strip("|").split(" | ")]
            if len(cells) == 8:  # a ratio and a range
                self._add(self.key(cells[0], cells[2], cells[4]), cells[4] + " " + cells[5])
            elif len(cells) == 7:  # of a page without ranges
                self._add(self.key(cells[0], cells[2], cells[4]), cells[4])
            elif cells[0] in ("highest by lowest", "the same in all runs"):
                for number, cell in enumerate(cells[1:]):
                    self._add(("growth", number), cell)

    @staticmethod
    def key(work, name, ratio):
        """Of a row: its time and its size have ratios of their own."""
        return work, name, NUMBER.sub("", ratio, count=1).strip()

    def _add(self, key, text):
        numbers = [float(number) for number in NUMBER.findall(text)]
        if numbers:
            self.ranges[key] = [min(numbers + self.ranges.get(key, [])),
                                max(numbers + self.ranges.get(key, []))]

    def with_this(self, key, ratio):
        """The range of all runs, this one included."""
        number = NUMBER.search(ratio)
        if number is None:
            return ""
        digits = len(number.group().partition(".")[2])
        least, greatest = self.ranges.get(key, [float(number.group())] * 2)
        bounds = [min(least, float(number.group())), max(greatest, float(number.group()))]
        return " to ".join("%.*f" % (digits, bound) for bound in bounds)


def spent(milliseconds):
    return "%.2f s" % (milliseconds / 1000) if milliseconds >= 1000 else "%.1f ms" % milliseconds


class Figures:
    def __init__(self, environment, page=""):
        """`page`: the page that this run's figures join."""
        self.environment = environment
        self.earlier = EarlierRuns(page)
        self.rows, self.growth_rows, self.memory_rows, self.misses = [], [], {}, []
        self.growth_limit = 0
        self.commands = {}

    def faster(self, work, ours, peer, goal):
        ratio = peer.median() / ours.median()
        self._add(work, ours, peer, "%.2f times faster" % ratio,
                  None if goal is None else "at least %g times" % goal,
                  goal is None or ratio >= goal)

    def share(self, work, ours, peer, goal):
        ratio = ours.median() / peer.median()
        self._add(work, ours, peer, "%.2f of its time" % ratio,
                  None if goal is None else "at most %g of its time" % goal,
                  goal is None or ratio <= goal)

    def added(self, work, ours, peer, factor, milliseconds):
        """A time that may exceed the peer's by a factor and a constant."""
        self._add(work, ours, peer, "%.1f ms more" % (ours.median() - peer.median()),
                  "at most %g of its time and %g ms" % (factor, milliseconds),
                  ours.median() <= factor * peer.median() + milliseconds)

    def size(self, work, ours, name, peer, goal):
        ratio = ours / peer
        self._row(work, "%d bytes" % ours, name, "%d bytes" % peer, "%.4f of its size" % ratio,
                  "at most %g of its size" % goal, ratio <= goal)

    def bound(self, work, ours, goal):
        """A time with an absolute limit; the longest measured time counts."""
        most = ours.spread()[1]
        self._row(work, spent(most), "", "", "", "at most " + spent(goal), most <= goal)

    def memory(self, work, mebibytes, goal):
        self.memory_rows[work] = (max(mebibytes, self.memory_rows.get(work, (0, goal))[0]), goal)

    def growth(self, count, microseconds, limit):
        self.growth_limit = limit
        self.growth_rows.append((count, microseconds))

    def _add(self, work, ours, peer, result, goal, reached):
        for candidate in (ours, peer):
            command = self.environment.shown(candidate.command("FOLDER"))
            self.commands.setdefault(command, candidate.name)
        least, most = ours.spread()
        self._row(work, "%s (%s to %s)" % (spent(ours.median()), spent(least), spent(most)),
                  peer.name, spent(peer.median()), result, goal, reached)

    def _row(self, work, ours, name, peer, result, goal, reached):
        if not reached:
            self.misses.append("%s%s: %s" % (work, " compared with " + name if name else "", result or ours))
        verdict = ("yes" if reached else "**no**") if goal else ""
        print(" | ".join((work, ours, name, peer, result, verdict)), file=sys.stderr, flush=True)
        runs = self.earlier.with_this(EarlierRuns.key(work, name, result), result)
        self.rows.append((work, ours, name, peer, result, runs, goal or "", verdict))

    def text(self, machine, date, large):
        command = "scripts/bench --disk FOLDER --page" + (" --large" if large else "")
        dates = ", ".join(dict.fromkeys(self.earlier.dates + [date]))
        text = HEAD.format(rounds=self.environment.rounds, machine=machine, dates=dates, command=command)
        text += ("\n| Task | Orvel | Compared with | Its time | Ratio | Runs | Target | Met |\n" +
                 "|---" * 8 + "|\n")
        text += "".join("| %s |\n" % " | ".join(row) for row in self.rows) + NOTES
        if self.memory_rows:
            text += MEMORY + "".join(self._memory_lines())
        if self.growth_rows:
            text += GROWTH.format(limit=self.growth_limit) + "".join(self._growth_lines())
        text += COMMANDS + "".join("- %s: `%s`\n" % (name, command)
                                   for command, name in self.commands.items())
        return text

    def _memory_lines(self):
        for work, (peak, goal) in self.memory_rows.items():
            if peak > goal:
                self.misses.append("memory of %s: %.0f MiB" % (work, peak))
            yield "| %s | %.0f MiB | at most %d MiB |\n" % (work, peak, goal)

    def _growth_lines(self):
        verbs = list(self.growth_rows[0][1])
        yield "| Entries | %s |\n|---%s|\n" % (" | ".join(verbs), "|---" * len(verbs))
        for count, times in self.growth_rows:
            yield "| %s | %s |\n" % (format(count, ","), " | ".join("%.2f" % times[v] for v in verbs))
        ratios, runs = [], []
        for number, verb in enumerate(verbs):
            column = [times[verb] for _, times in self.growth_rows]
            ratio = max(column) / min(column)
            if ratio > self.growth_limit:
                self.misses.append("growth of %s: %.2f" % (verb, ratio))
            ratios.append("%.2f" % ratio if ratio <= self.growth_limit else "**%.2f**" % ratio)
            runs.append(self.earlier.with_this(("growth", number), "%.2f" % ratio))
        yield "| highest by lowest | %s |\n" % " | ".join(ratios)
        yield "| the same in all runs | %s |\n" % " | ".join(runs)
