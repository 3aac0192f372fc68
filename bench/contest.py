"""Times whole commands side by side: alternating, warm, medians.

Nothing is deleted while a contest may follow. A file system goes on being busy with what was
deleted for minutes (ext4 passes over each inode that was freed lately whenever it looks for a free
one), which would make the next run slow, whoever it is. What a contest leaves behind is only
emptied; whoever runs them deletes it at the very end.
"""

import json
import os
import statistics
import subprocess
import time


class Contestant:
    """One command of a contest.

    `prepare` runs untimed before each round and gets the folder that the contestant may use;
    `command` gets the same folder and gives the argument list. `settle` is False where what was
    prepared must not be on the disk yet. `time_of` gets the milliseconds that the process took and
    what it says of itself, and gives those that count.
    """

    def __init__(self, name, command, prepare=None, settle=True, time_of=None):
        self.name, self.command, self.prepare = name, command, prepare
        self.settle = settle
        self.time_of = time_of or (lambda spent, report: spent)
        self.times, self.reports = [], []

    def median(self):
        return statistics.median(self.times)

    def spread(self):
        """The quickest and the slowest time."""
        return min(self.times), max(self.times)


def report_of(output):
    """What a benchmark program says of itself; other tools say nothing that is read."""
    lines = [line for line in output.splitlines() if line.startswith('{"code"')]
    return json.loads(lines[-1]) if lines else {}


def run_once(contestant, folder, keep):
    os.makedirs(folder)
    os.sync()
    if contestant.prepare:
        contestant.prepare(folder)
    if contestant.settle:
        os.sync()
    start = time.perf_counter()
    done = subprocess.run(contestant.command(folder), stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False)
    spent = (time.perf_counter() - start) * 1000
    if done.returncode != 0:
        raise SystemExit("%s failed (%d): %s" % (contestant.name, done.returncode,
                                                 (done.stdout + done.stderr)[-600:]))
    if keep:
        report = report_of(done.stdout)
        contestant.times.append(contestant.time_of(spent, report))
        contestant.reports.append(report)


def empty(folder):
    """Gives back the disk that the files of a folder take, and leaves the files."""
    for parent, _, files in os.walk(folder):
        for name in files:
            path = os.path.join(parent, name)
            if os.path.getsize(path) > 4096:
                os.truncate(path, 0)


def contest(contestants, folder, rounds):
    """Runs every contestant once for warmth, then `rounds` times in turn, each run in a folder of
    its own inside `folder`, which must not be there yet. Each round begins with another one: the
    first comes right after the emptying."""
    for number in range(rounds + 1):
        first = number % len(contestants)
        order = list(enumerate(contestants))
        for place, contestant in order[first:] + order[:first]:
            run_once(contestant, os.path.join(folder, "%d-%d" % (number, place)), keep=number > 0)
        empty(folder)
    return contestants
