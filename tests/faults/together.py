#!/usr/bin/env python3
"""Two programs work on the same archive at once: the second one takes its step while the first is
stopped before each of its file calls."""

import collections
import contextlib
import glob
import os
import signal
import time

from job import ENTRIES, Job, archive_content, check, ended, main, read_tree, write_files

PATIENCE = 1.0  # seconds in which the second one must have ended or be waiting for the first
LATE = {"scripts/client.cs": b"// edited while the first one saved\r\n" * 33}


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


def stopped(job, step, number, where):
    """A program that has taken a step up to a call and is stopped before it."""
    first = job.start("jobDriver", "Job", step, watch={"stop": number})
    check(until(lambda: "T" in states(first), 60), where, "did not stop")
    return first


def go_on(first, where):
    os.kill(first.pid, signal.SIGCONT)
    return ended(first, where, must=False)


def save(binaries, scratch):
    """While one program saves, no other can work on its work folder, and the lock of a program that
    was killed is free. What an editor writes meanwhile is not lost."""
    job = Job(binaries, scratch)
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of("save")
    check(len(calls) > len(ENTRIES), "too few calls seen:", calls)
    job.edits.update(LATE)
    job.wanted.update(LATE)
    named = tried = 0
    for number, where in job.points(calls):
        # No call of the system checks a file and removes it at once.
        if "unlinkat" in where and where.endswith(next(iter(LATE)) + "):"):
            continue
        tried += 1
        first = stopped(job, "save", number, where)
        write_files(job.work, LATE)
        second = job.steps("save", must=False)
        named += "(process %d " % first.pid in second.stdout
        if number % 2 or second.returncode == 0:
            # Once the first file is deleted, the archive is no longer extracted.
            saved = ["was created successfully" in text
                     for text in (go_on(first, where), second.stdout)]
            check(sum(saved) == 1, where, "saved by the first and the second:", *saved)
        else:
            first.kill()
            first.wait()
        job.edits_are_somewhere(where)
        job.save_again(where)
    check(named > tried // 2, "the first program was named only", named, "times")
    print("%d points, the first program was named at %d" % (tried, named))


def apart(binaries, scratch, **options):
    """Two programs with work folders of their own save into one archive: it gets the edits of both,
    and neither sets back a newer entry."""
    job = Job(binaries, scratch, **options)
    other = job.of_other_user()
    job.extract_and_edit()
    other.steps("extract")
    write_files(other.work, LATE)
    job.freeze()
    job.wanted.update(LATE)
    calls = job.calls_of("save")
    at_once = 0
    for number, where in job.points(calls):
        first = stopped(job, "save", number, where)
        second = other.start("jobDriver", "Job", "save")
        looks = collections.deque(maxlen=15)

        def waits():
            looks.append(set(states(second)) <= {"S"})
            return second.poll() is not None or (all(looks) and len(looks) == looks.maxlen)

        until(waits, PATIENCE)
        saved = ["was created successfully" in text
                 for text in (go_on(first, where), ended(second, where))]
        check(any(saved), where, "neither saved")
        at_once += all(saved)
        for each, done in zip((other, job), reversed(saved)):
            if not done:
                each.steps("ready", "save")
        check(archive_content(job.archive) == job.wanted, where, "left another content")
    print("%d points: both saved at %d" % (len(calls), at_once))


def extract(binaries, scratch):
    """The work folder is whole, whichever program wrote a file."""
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of("extract")
    for number, where in job.points(calls):
        first = stopped(job, "extract", number, where)
        second = job.steps("extract", must=False)
        go_on(first, where)
        check("works on this archive" in second.stdout or read_tree(job.work) == ENTRIES, where,
              "neither extracted nor refused:", second.stdout)
        check(read_tree(job.work) == ENTRIES, where, "holds", sorted(read_tree(job.work)))
    print("%d points" % len(calls))


if __name__ == "__main__":
    # On a share, the lock on the archive is lost with the archive that is replaced.
    share = {"lacks": " local open-rename read-locks "}
    main({"save": save, "extract": extract, "apart": apart,
          "apart-share": lambda *where: apart(*where, **share)})
