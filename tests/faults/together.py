#!/usr/bin/env python3
"""Two programs work on the same archive at once: the second one starts its step while the first
stands still in front of each of its file calls; before a save's, a file is edited meanwhile.

    together.py save | save-share | extract BINARIES SCRATCH

Ends with 0 where every point held; says how many points were tried.
"""

import os
import signal
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import (ENTRIES, Job, archive_content, check, ended, go, main,  # noqa: E402
                 read_tree, write_files)

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


def both(job, step, number, where, meanwhile=lambda: None):
    """What the first and the second one say in the end."""
    first = job.paused(step, watch={"stop": number})
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


def save(binaries, scratch, **options):
    """Every edit is in the archive or in the work folder, each one hears what became of its save,
    and nothing is mixed."""
    job = Job(binaries, scratch, **options)
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of("save")
    check(len(calls) > len(ENTRIES), "too few calls seen:", calls)
    job.edits.update(LATE)
    job.wanted.update(LATE)
    told = {(True, True): 0, (True, False): 0, (False, True): 0}
    for number, where in job.points(calls):
        where = "second save " + where
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
    calls = job.calls_of("extract")
    for number, where in job.points(calls):
        both(job, "extract", number, where)
        check(read_tree(job.work) == ENTRIES, where, "holds", sorted(read_tree(job.work)))
    print("%d points" % len(calls))


if __name__ == "__main__":
    # There the archive's own lock is lost with the archive that is replaced.
    share = {"lacks": " local open-rename read-locks "}
    main(__doc__, {"save": save, "save-share": lambda *where: save(*where, **share),
                   "extract": extract})
