#!/usr/bin/env python3
"""Two programs work on the same archive at once: the second one takes its step while the first is
stopped before each of its file calls."""

import collections
import contextlib
import glob
import os
import signal
import time
from pathlib import Path

from job import ENTRIES, Job, archive_content, check, ended, main, read_tree, write_files

PATIENCE = 1.0  # seconds in which the second one must have ended or be waiting for the first
# Edited while the first one saves: as long as it was before.
LATE = {"scripts/client.cs": ENTRIES["scripts/client.cs"][::-1]}


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


def edit_late(job):
    """Writes the late edits; each file gets back the time that it had."""
    paths = [os.path.join(job.work, name) for name in LATE]
    times = {path: os.stat(path) for path in paths if os.path.exists(path)}
    write_files(job.work, LATE)
    for path, state in times.items():
        os.utime(path, ns=(state.st_atime_ns, state.st_mtime_ns))


def save(binaries, scratch, **options):
    """While one program saves, no other can work on its work folder, and the lock of a program that
    was killed is free. What an editor writes meanwhile is not lost."""
    job = Job(binaries, scratch, **options)
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
        edit_late(job)
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
        job.save_again(where, may_ask=True)
    # A file server may not let others read a locked file.
    check(named > tried // 2 or job.sample is not None, "the first program was named only", named, "times")
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


# What other programs do with a file that is opened, saved or thrown away: the first half of it, then the
# second.

NEW = LATE["scripts/client.cs"]
HALF = len(NEW) // 2


def writes(mode):
    def act(path):
        with open(path, mode, buffering=0) as file:
            file.write(NEW[:HALF])
            yield
            file.write(NEW[HALF:])
    return act


def keeps_open(path):
    with open(path, "r+b", buffering=0) as file:
        file.write(NEW)
        yield


def writes_late(path):
    with open(path, "r+b", buffering=0) as file:
        yield
        file.write(NEW)


def renames(path):
    with open(path + ".tmp", "xb", buffering=0) as file:
        file.write(NEW[:HALF])
        yield
        file.write(NEW[HALF:])
        os.rename(path + ".tmp", path)


def locks(path):
    lock = Path(path + ".lock")
    lock.touch()
    Path(path).write_bytes(NEW)
    yield
    lock.unlink(missing_ok=True)


def restores_time(path):
    times = os.stat(path)
    Path(path).write_bytes(NEW)
    os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
    yield


def reads(path):
    with open(path, "rb") as file:
        file.read()
        yield


# Name, what it does, and whether the second half comes once Orvel has ended.
PROGRAMS = [("an editor that writes in place", writes("r+b"), False),
            ("an editor that truncates the file and writes slowly", writes("wb"), False),
            ("an editor that keeps the file open", keeps_open, True),
            ("an editor that opens the file and writes later", writes_late, True),
            ("an editor that renames a new file", renames, False),
            ("an editor with a lock file", locks, True),
            ("an editor that restores the time", restores_time, False),
            ("a file manager", reads, True)]


def editors(binaries, scratch):
    """What an editor writes to a file at any moment is in the archive or in the work folder, and the
    archive never gets half of it."""
    name = "scripts/client.cs"
    acted = tried = 0
    for step in ("extract", "save", "cancel"):
        job = Job(binaries, scratch, sample=4)
        path = os.path.join(job.work, name)
        if step != "extract":
            job.extract_and_edit()
        job.freeze()
        calls = job.calls_of(step)
        wanted = ENTRIES if step == "extract" else job.wanted
        for program, act, late in PROGRAMS:
            for number, where in job.points(calls):
                where = "%s, %s %s" % (program, step, where)
                tried += 1
                old = job.bytes_of_archive()
                first = stopped(job, step, number, where)
                doing = act(path)
                try:
                    next(doing)
                except FileNotFoundError: # not extracted yet, or deleted already
                    doing = None
                os.kill(first.pid, signal.SIGCONT)
                if doing and not late:
                    time.sleep(0.2)
                    with contextlib.suppress(FileNotFoundError):
                        next(doing, None)
                said = ended(first, where)
                if doing and late:
                    next(doing, None)
                acted += doing is not None
                content = NEW if doing and act is not reads else ENTRIES[name]
                packed = archive_content(job.archive)
                if step == "cancel":
                    check(job.bytes_of_archive() == old, where, "the archive changed")
                    continue
                check(packed.get(name) in (ENTRIES[name], NEW), where, "half a file was packed")
                there = read_tree(job.work).get(name)
                check(content in (packed[name], there), where, "lost the edit:", said)
                again = job.steps("ready", "save").stdout
                packed = archive_content(job.archive)
                packed.pop(name + ".lock", None)
                packed.pop(name + ".tmp", None)
                check(packed == {**wanted, name: content}, where, "left another content:", said, again)
                job.nothing_left(where)
    check(acted > tried // 2, "the programs had no file at", tried - acted, "of", tried)
    print("%d programs, %d moments, %d with the file" % (len(PROGRAMS), tried, acted))


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
    main({"save": save, "extract": extract, "apart": apart, "editors": editors,
          "apart-share": lambda *where: apart(*where, **share)})
