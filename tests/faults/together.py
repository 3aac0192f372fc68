#!/usr/bin/env python3
"""Two programs work on the same archive at once: the second one starts its step while the first
stands still in front of each of its file calls; before a save's, a file is edited meanwhile.

    together.py save | extract BINARIES SCRATCH

Ends with 0 where every point held; says how many points were tried.
"""

import os
import signal
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import ENTRIES, Job, archive_content, check, main, read_tree, write_files  # noqa: E402

LATE = {"scripts/client.cs": b"// edited while the first one saved\r\n" * 33}
PATIENCE = 0.3  # seconds that the second one gets before the first goes on


def until(condition, where):
    end = time.monotonic() + 60
    while not condition():
        check(time.monotonic() < end, where, "waited in vain")
        time.sleep(0.002)


def stands_still(process):
    with open("/proc/%d/stat" % process.pid, encoding="utf-8") as file:
        return file.read().rsplit(")", 1)[1].split()[0] == "T"


def go(process):
    process.stdin.write("\n")
    process.stdin.flush()


def ended(process, where):
    out, errors = process.communicate(timeout=60)
    check(process.returncode == 0, where, "ended with", process.returncode, out, errors)
    return out


def both(job, step, number, where, meanwhile):
    """What the first and the second one say in the end."""
    job.reset()
    first = job.paused(step, watch={"folder": job.live, "stop": number})
    second = job.paused(step)
    go(first)
    until(lambda: stands_still(first), where)
    meanwhile()
    go(second)
    end = time.monotonic() + PATIENCE
    while second.poll() is None and time.monotonic() < end:
        time.sleep(0.002)
    os.kill(first.pid, signal.SIGCONT)
    return ended(first, where), ended(second, where)


def save(binaries, scratch):
    """Every edit is in the archive or in the work folder, each one hears what became of its save,
    and nothing is mixed."""
    job = Job(binaries, scratch)
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("save", watch=watch))
    job.edits.update(LATE)
    job.wanted.update(LATE)
    told = {(True, True): 0, (True, False): 0, (False, True): 0}
    for number in range(1, len(calls) + 1):
        where = "second save before call %d (%s %s) of the first:" % (number, *calls[number - 1])
        results = []
        for said in both(job, "save", number, where, lambda: write_files(job.work, LATE)):
            results.append("was created successfully" in said)
            check(results[-1] != ("error: Job.vl2 was not saved" in said), where, "unclear:", said)
        check(any(results), where, "neither saved")
        told[tuple(results)] += 1
        job.edits_are_somewhere(where)
        check(set(ENTRIES) <= set(archive_content(job.archive)), where, "an entry is gone")
        job.save_again(where)
    print("%d points: both saved at %d, the first alone at %d, the second alone at %d" % (
        len(calls), *told.values()))


def extract(binaries, scratch):
    """The work folder is whole, whoever wrote which file of it."""
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("extract", watch=watch))
    for number in range(1, len(calls) + 1):
        where = "second extraction before call %d (%s %s):" % (number, *calls[number - 1])
        both(job, "extract", number, where, lambda: None)
        check(read_tree(job.work) == ENTRIES, where, "holds", sorted(read_tree(job.work)))
    print("%d points" % len(calls))


if __name__ == "__main__":
    main(__doc__, {"save": save, "extract": extract})
