"""The figures of a run, and the page that shows them."""

from place import shown

HEAD = """# Performance

Orvel beside other tools, in one run on one machine: whole processes, alternating, warm cache,
medians of {rounds} rounds after one that does not count. What counts is the ratio; times are of
this machine and this hour. The spread is of Orvel's own rounds.

- Machine: {machine}
- Date: {date}
- Command: `{command}` (its summary is this page)
"""

NOTES = """
"Syncing apart": a save makes the new archive durable before it takes the old one's place, the other
tools do not; that part has a row of its own. `7z u` with its times kept trusts the times of files;
Orvel compares contents. "read of the tree" reads every file of the work folder with as many threads
as there are processors, and does nothing with it.
"""

MEMORY = """
## Memory

Largest resident memory of list, extract, save (one file changed) and clean-up.

| Archive | Peak | Wanted |
|---|---|---|
"""

GROWTH = """
## Growth

Microseconds for each entry (files of 40 to 700 bytes in folders of 200; syncing apart, process
start not counted), and what an entry costs where it costs most, by where it costs least: wanted at
most {flat:g}.

"""

COMMANDS = """
## What was run

`vl2bench` calls the two companion libraries through their C interface, `pickbench` shows the main
window on a virtual screen and presses the key. The archives are made by `bench/make_archive.py`: the
same bytes everywhere. Nothing is deleted before the last round is measured, since a file system that
just freed many files is slow at making new ones, whoever makes them.

"""


def spent(milliseconds):
    return "%.2f s" % (milliseconds / 1000) if milliseconds >= 1000 else "%.1f ms" % milliseconds


class Figures:
    def __init__(self, place):
        self.place = place
        self.rows, self.growth_rows, self.memory_rows, self.misses = [], [], {}, []
        self.flat = 0
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

    def size(self, work, ours, name, peer, goal):
        ratio = ours / peer
        self._row(work, "%d bytes" % ours, name, "%d bytes" % peer, "%.4f of its size" % ratio,
                  "at most %g of its size" % goal, ratio <= goal)

    def bound(self, work, ours, goal):
        """A time with a limit of its own: the longest that was seen counts."""
        most = ours.spread()[1]
        self._row(work, spent(most), "", "", "", "at most " + spent(goal), most <= goal)

    def memory(self, work, mebibytes, goal):
        self.memory_rows[work] = (max(mebibytes, self.memory_rows.get(work, (0, goal))[0]), goal)

    def growth(self, count, microseconds, flat):
        self.flat = flat
        self.growth_rows.append((count, microseconds))

    def _add(self, work, ours, peer, result, goal, reached):
        for contestant in (ours, peer):
            command = shown(contestant.command("FOLDER"), self.place)
            self.commands.setdefault(command, contestant.name)
        least, most = ours.spread()
        self._row(work, "%s (%s to %s)" % (spent(ours.median()), spent(least), spent(most)),
                  peer.name, spent(peer.median()), result, goal, reached)

    def _row(self, work, ours, name, peer, result, goal, reached):
        if not reached:
            self.misses.append("%s%s: %s" % (work, " beside " + name if name else "", result or ours))
        verdict = ("yes" if reached else "**no**") if goal else ""
        self.rows.append((work, ours, name, peer, result, goal or "", verdict))

    def text(self, machine, date, large):
        command = "scripts/bench --large" if large else "scripts/bench"
        text = HEAD.format(rounds=self.place.rounds, machine=machine, date=date, command=command)
        text += "\n| Work | Orvel | Beside | It takes | Orvel is | Wanted | Reached |\n" + "|---" * 7 + "|\n"
        text += "".join("| %s |\n" % " | ".join(row) for row in self.rows) + NOTES
        if self.memory_rows:
            text += MEMORY + "".join(self._memory_lines())
        if self.growth_rows:
            text += GROWTH.format(flat=self.flat) + "".join(self._growth_lines())
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
        ratios = []
        for verb in verbs:
            column = [times[verb] for _, times in self.growth_rows]
            ratio = max(column) / min(column)
            if ratio > self.flat:
                self.misses.append("growth of %s: %.2f" % (verb, ratio))
            ratios.append("%.2f" % ratio if ratio <= self.flat else "**%.2f**" % ratio)
        yield "| most by least | %s |\n" % " | ".join(ratios)
