"""Times whole commands in paired runs: alternating, warm cache, medians.

Nothing is deleted between paired runs. Deleting slows a file system down for minutes: ext4 checks
each recently freed inode when it searches for a free one. Files of finished runs are truncated, and
the caller deletes them at the end.
"""

import contextlib
import json
import os
import statistics
import subprocess
import time


class Candidate:
    """One command of a comparison.

    `prepare` runs untimed before each round, with the folder of that run as its argument; `command`
    maps this folder to the argument list. `settle` is False if the prepared files must stay
    unsynced. `time_of` maps the milliseconds of the process and its report to the time that counts.
    """

    def __init__(self, name, command, prepare=None, settle=True, time_of=None):
        self.name, self.command, self.prepare = name, command, prepare
        self.settle = settle
        self.time_of = time_of or (lambda spent, report: spent)
        self.times, self.reports = [], []

    def median(self):
        return statistics.median(self.times)

    def spread(self):
        """The shortest and the longest time."""
        return min(self.times), max(self.times)


def report_of(output):
    """The JSON report of a benchmark program; empty for other tools."""
    lines = [line for line in output.splitlines() if line.startswith('{"code"')]
    return json.loads(lines[-1]) if lines else {}


def run_once(candidate, folder, keep):
    os.makedirs(folder)
    os.sync()
    if candidate.prepare:
        candidate.prepare(folder)
    if candidate.settle:
        os.sync()
    start = time.perf_counter()
    done = subprocess.run(candidate.command(folder), stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False)
    spent = (time.perf_counter() - start) * 1000
    if done.returncode != 0:
        raise SystemExit("%s failed (%d): %s" % (candidate.name, done.returncode,
                                                 (done.stdout + done.stderr)[-600:]))
    if keep:
        report = report_of(done.stdout)
        candidate.times.append(candidate.time_of(spent, report))
        candidate.reports.append(report)


def in_process(spent, report):
    """The time of a benchmark program without the start of its process, which a window has behind it."""
    return report["ms"]


def files_in(folder):
    """The path of each file below a folder."""
    for parent, _, files in os.walk(folder):
        for name in files:
            yield os.path.join(parent, name)


def empty(folder):
    """Truncates the files below a folder, which frees disk space and keeps their inodes. A disk may refuse
    that while it still stores a file."""
    for path in files_in(folder):
        with contextlib.suppress(OSError):
            if os.path.getsize(path) > 4096:
                os.truncate(path, 0)


def run_paired(candidates, folder, rounds):
    """Runs each candidate once as a warm-up, then `rounds` times alternating. Each run has its own
    subfolder of `folder`, which must not exist yet. The order rotates, since the first candidate of
    a round runs directly after the truncation."""
    for number in range(rounds + 1):
        first = number % len(candidates)
        order = list(enumerate(candidates))
        for index, candidate in order[first:] + order[:first]:
            run_once(candidate, os.path.join(folder, "%d-%d" % (number, index)), keep=number > 0)
        empty(folder)
    return candidates
