#!/usr/bin/env python3
"""Two programs work on the same archive at once: the second one starts its step while the first is
stopped before each of its file calls; before a save by the second, a file is edited."""

import collections
import contextlib
import glob
import os
import signal
import time

from job import ENTRIES, Job, archive_content, check, ended, go, main, read_tree, write_files

LATE = {"scripts/client.cs": b"// edited while the first one saved\r\n" * 33}
PATIENCE = 1.0  # seconds in which the second one must have ended or be waiting for the first


def until(condition, seconds):
    """Whether the condition becomes true in time."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.002)
    return True


def states(process):
    """The states of all threads of a process, as letters; "" once it has ended."""
    found = ""
    for thread in glob.glob("/proc/%d/task/*/stat" % process.pid):
        with contextlib.suppress(OSError), open(thread, encoding="utf-8") as file:
            found += file.read().rsplit(")", 1)[1].split()[0]
    return found


def both(job, step, number, where, edit=lambda: None):
    """The output of the first and of the second one."""
    first = job.paused(step, watch={"stop": number})
    second = job.paused(step)
    go(first)
    check(until(lambda: "T" in states(first), 60), where, "did not stop")
    edit()
    looks = collections.deque(maxlen=15)
    go(second)

    def waits():
        looks.append(set(states(second)) <= {"S"})
        return second.poll() is not None or (all(looks) and len(looks) == looks.maxlen)

    until(waits, PATIENCE)
    os.kill(first.pid, signal.SIGCONT)
    return ended(first, where), ended(second, where)


def save(binaries, scratch, **options):
    """Every edit is in the archive or in the work folder, each program reports the outcome of its
    save, and nothing is mixed."""
    job = Job(binaries, scratch, **options)
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of("save")
    check(len(calls) > len(ENTRIES), "too few calls seen:", calls)
    job.edits.update(LATE)
    job.wanted.update(LATE)
    seen = {(True, True): 0, (True, False): 0, (False, True): 0}
    for number, where in job.points(calls):
        where = "second save " + where
        results = []
        for output in both(job, "save", number, where, lambda: write_files(job.work, LATE)):
            results.append("was created successfully" in output)
            check(results[-1] != ("error: Job.vl2 was not saved" in output), where, "unclear:", output)
        check(any(results), where, "neither saved")
        seen[tuple(results)] += 1
        job.edits_are_somewhere(where)
        check(set(ENTRIES) <= set(archive_content(job.archive)), where, "an entry is gone")
        job.save_again(where)
    print("%d points: both saved at %d, the first alone at %d, the second alone at %d" % (
        sum(seen.values()), *seen.values()))


def extract(binaries, scratch):
    """The work folder is whole, whichever program wrote a file."""
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of("extract")
    for number, where in job.points(calls):
        both(job, "extract", number, where)
        check(read_tree(job.work) == ENTRIES, where, "holds", sorted(read_tree(job.work)))
    print("%d points" % len(calls))


if __name__ == "__main__":
    # On a share, the lock on the archive is lost with the archive that is replaced.
    share = {"lacks": " local open-rename read-locks "}
    main({"save": save, "save-share": lambda *where: save(*where, **share), "extract": extract})
