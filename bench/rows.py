"""The figures of a run, and the page that shows them."""


def spent(milliseconds):
    return "%.2f s" % (milliseconds / 1000) if milliseconds >= 1000 else "%.1f ms" % milliseconds


class Figures:
    def __init__(self):
        self.rows, self.growth_rows, self.memory_rows, self.misses = [], [], {}, []

    def faster(self, work, ours, peer, goal):
        ratio = peer.median() / ours.median()
        self.add(work, ours, peer, "%.2f times faster" % ratio,
                 None if goal is None else "at least %g times" % goal,
                 goal is None or ratio >= goal)

    def share(self, work, ours, peer, goal):
        ratio = ours.median() / peer.median()
        self.add(work, ours, peer, "%.2f of its time" % ratio,
                 None if goal is None else "at most %g of its time" % goal,
                 goal is None or ratio <= goal)

    def size(self, work, ours, name, peer, goal):
        ratio = ours / peer
        self.row(work, "%d bytes" % ours, name, "%d bytes" % peer, "%.4f of its size" % ratio,
                 "at most %g of its size" % goal, ratio <= goal)

    def memory(self, work, mebibytes, goal):
        self.memory_rows[work] = (max(mebibytes, self.memory_rows.get(work, (0, goal))[0]), goal)

    def growth(self, count, microseconds):
        self.growth_rows.append((count, microseconds))

    def add(self, work, ours, peer, result, goal, reached):
        self.row(work, spent(ours.median()), peer.name, spent(peer.median()), result, goal, reached)

    def row(self, work, ours, name, peer, result, goal, reached):
        if not reached:
            self.misses.append("%s beside %s: %s" % (work, name, result))
        self.rows.append((work, ours, name, peer, result, goal or "", "yes" if reached else "**no**")
                         if goal else (work, ours, name, peer, result, "", ""))

    def met(self):
        return not self.misses and all(peak <= goal for peak, goal in self.memory_rows.values())

    def text(self, machine, date, rounds, large):
        lines = ["# Performance", "",
                 "Orvel's companion libraries beside other tools, in one run on one machine: whole",
                 "processes, alternating, warm cache, medians of %d. What counts is the ratio." % rounds,
                 "", "- Machine: %s" % machine, "- Date: %s" % date,
                 "- Command: `scripts/bench%s`" % (" --large" if large else ""),
                 "", "| Work | Orvel | Beside | It takes | Orvel is | Wanted | Reached |",
                 "|---|---|---|---|---|---|---|"]
        lines += ["| %s |" % " | ".join(row) for row in self.rows]
        lines += ["", "Syncing is what a save spends making the new archive durable; the other tools do not.",
                  "", "## Memory", "",
                  "Largest resident memory of list, extract, save (one file changed) and clean up.", "",
                  "| Archive | Peak | Wanted |", "|---|---|---|"]
        lines += ["| %s | %.0f MiB | at most %d MiB |" % (work, peak, goal)
                  for work, (peak, goal) in self.memory_rows.items()]
        if self.growth_rows:
            verbs = list(self.growth_rows[0][1])
            lines += ["", "## Growth", "", "Microseconds for each entry (small files, syncing apart, "
                      "process start not counted).", "",
                      "| Entries | %s |" % " | ".join(verbs), "|---|%s" % ("---|" * len(verbs))]
            lines += ["| %s | %s |" % (format(count, ","), " | ".join("%.2f" % times[v] for v in verbs))
                      for count, times in self.growth_rows]
        return "\n".join(lines) + "\n"
