"""Times whole commands side by side: alternating, warm, medians."""

import json
import os
import shutil
import statistics
import subprocess
import time


class Contestant:
    """One command of a contest. `prepare` runs untimed before each round and gets the folder that
    the contestant may use; `command` gets the same folder and gives the argument list."""

    def __init__(self, name, command, prepare=None, without_sync=False):
        self.name, self.command, self.prepare = name, command, prepare
        self.without_sync = without_sync
        self.times, self.reports = [], []

    def median(self):
        return statistics.median(self.times)


def report_of(output):
    """What vl2bench says of itself; other tools say nothing that is read."""
    lines = [line for line in output.splitlines() if line.startswith('{"code"')]
    return json.loads(lines[-1]) if lines else {}


def run_once(contestant, folder, keep):
    os.makedirs(folder)
    if contestant.prepare:
        contestant.prepare(folder)
    os.sync()
    start = time.perf_counter()
    done = subprocess.run(contestant.command(folder), stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, check=False)
    spent = (time.perf_counter() - start) * 1000
    if done.returncode != 0:
        raise SystemExit("%s failed (%d): %s" % (contestant.name, done.returncode,
                                                 (done.stdout + done.stderr)[-600:]))
    if not keep:
        return
    report = report_of(done.stdout)
    if contestant.without_sync:
        spent -= report.get("sync_ms", 0)
    contestant.times.append(spent)
    contestant.reports.append(report)


def contest(contestants, folder, rounds):
    """Runs every contestant once for warmth, then `rounds` times in turn, each run in a folder of
    its own. Nothing is deleted before the end: a file system that is still busy with what was
    deleted makes the next run slow, whoever it is."""
    shutil.rmtree(folder, ignore_errors=True)
    for number in range(rounds + 1):
        for place, contestant in enumerate(contestants):
            run_once(contestant, os.path.join(folder, "%d-%d" % (number, place)), keep=number > 0)
    shutil.rmtree(folder, ignore_errors=True)
    return contestants
