#!/usr/bin/env python3
"""Two programs that have the same archive extracted save it at once: the second one starts while the
first stands still in front of each of its file calls, and a file is edited meanwhile.

    together.py save BINARIES SCRATCH

Ends with 0 where every point held; says how many points were tried.
"""

import os
import signal
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import ENTRIES, Job, archive_content, check, main, write_files  # noqa: E402

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


def outcome(process, where):
    out, errors = process.communicate(timeout=60)
    check(process.returncode == 0, where, "ended with", process.returncode, out, errors)
    told = "was created successfully" in out
    check(told != ("error: Job.vl2 was not saved" in out), where, "unclear outcome:", out)
    return told


def save(binaries, scratch):
    job = Job(binaries, scratch)
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("save", watch=watch))
    job.edits.update(LATE)
    job.wanted.update(LATE)
    told = {(True, True): 0, (True, False): 0, (False, True): 0}
    for number in range(1, len(calls) + 1):
        where = "second save before call %d (%s %s) of the first:" % (number, *calls[number - 1])
        job.reset()
        first = job.paused("save", watch={"folder": job.live, "stop": number})
        second = job.paused("save")
        go(first)
        until(lambda: stands_still(first), where)
        write_files(job.work, LATE)
        go(second)
        end = time.monotonic() + PATIENCE
        while second.poll() is None and time.monotonic() < end:
            time.sleep(0.002)
        os.kill(first.pid, signal.SIGCONT)
        both = outcome(first, where), outcome(second, where)
        check(any(both), where, "neither saved")
        told[both] += 1
        job.edits_are_somewhere(where)
        check(set(ENTRIES) <= set(archive_content(job.archive)), where, "an entry is gone")
        job.save_again(where)
    print("%d points: both saved at %d, the first alone at %d, the second alone at %d" % (
        len(calls), *told.values()))


if __name__ == "__main__":
    main(__doc__, {"save": save})
