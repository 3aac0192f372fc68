#!/usr/bin/env python3
"""Stops the program in front of each of its file calls, or makes each of them fail, and looks at
what is on the disk.

    faults.py TEST BINARIES SCRATCH
    TEST: kill-save, kill-save-large, kill-save-share, kill-save-held, kill-extract,
          kill-extract-poor, kill-settings, fail-save, fail-extract, disks, order, watched

Ends with 0 where every point held; says how many points were tried.
"""

import errno
import os
import re
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import (ENTRIES, PROGRAM_KEY, SKIPPED, Job, archive_content, check,  # noqa: E402
                 main, read_tree, was_killed, write_files)

# Something before the archive, and a file that is too large to be packed in memory.
LARGE = {"front": b"#!/bin/sh\nexit 0\n" * 50,
         "more": {"scripts/large.cs": b"echo(\"one of very many lines\");\r\n" * 600_000}}

# A disk that can do no more than the simplest.
POOR = {"lacks": " nameless linkat renameat2 "}
# A disk of another machine, on which a program may have the archive open, too.
SHARE = {"lacks": " local open-rename read-locks "}
HELD = {"lacks": " local held-rename renameat2 "}


def prepared(binaries, scratch, **options):
    job = Job(binaries, scratch, **options)
    job.extract_and_edit()
    job.freeze()
    old = job.bytes_of_archive()
    calls = job.calls_of("save")
    new = job.bytes_of_archive()
    check(archive_content(job.archive) == job.wanted, "an undisturbed save left another content")
    check(old != new, "the save changed nothing")
    return job, old, new, calls


def kill_save(binaries, scratch, before=lambda: None, after=lambda: None, **options):
    """`before` and `after` are what happens to the disk around each run."""
    job, old, new, calls = prepared(binaries, scratch, **options)
    outcomes = {"old": 0, "new": 0}
    # Behind the last call the program comes to its end.
    for number, where in job.points([*calls, ("end", "")]):
        before()
        done = job.steps("save", watch={"kill": number}, must=False)
        check(was_killed(done) or done.returncode == 0, where, done.stdout, done.stderr)
        after()
        job.name_kept()
        now = job.bytes_of_archive()
        check(now in (old, new), where, "the archive is neither the old nor the new one")
        outcomes["old" if now == old else "new"] += 1
        job.edits_are_somewhere(where)
        check(now == new or job.is_extracted(), where, "work folder not recognised")
        job.save_again(where)
    check(outcomes["old"] > 3 and outcomes["new"] > 3, "too few points reached:", outcomes)
    print("%d points, archive old after %d, new after %d" % (len(calls) + 1, *outcomes.values()))


def kill_extract(binaries, scratch, **disk):
    job = Job(binaries, scratch, **disk)
    job.freeze()
    calls = job.calls_of("extract")
    check(read_tree(job.work) == ENTRIES, "an undisturbed extraction left something else")
    check(len(calls) > len(ENTRIES), "too few calls seen")
    killed = 0
    for number, where in job.points(calls):
        killed += was_killed(job.steps("extract", watch={"kill": number}, must=False))
        for name, content in job.extracted().items():
            check(content == ENTRIES.get(name), where, "half a file:", name)
        if "state: listed" in job.steps("state").stdout:
            job.steps("extract")
            check(job.extracted() == ENTRIES, where, "the next extraction is not whole")
        job.steps("save")
        check(archive_content(job.archive) == ENTRIES, where, "the archive changed")
        job.nothing_left(where)
    check(killed > len(ENTRIES), "too few points reached:", killed)
    print("%d points, %d reached" % (len(calls), killed))


def kill_settings(binaries, scratch):
    job = Job(binaries, scratch)
    job.freeze()

    def add(watch=None, **options):
        watch = watch and {**watch, "folder": job.config}
        return job.register(PROGRAM_KEY, "other", "new text", watch=watch, **options)

    def value(name):
        return job.run("orvel-reg", "query", PROGRAM_KEY, name).stdout.strip()

    calls = job.calls_of(add)
    for number, where in job.points(calls):
        check(was_killed(add(watch={"kill": number}, must=False)), where, "was not reached")
        check(value("tempdir") == job.temp, where, "another value was lost")
        add()
        check(value("other") == "new text", where, "the next write is not there")
    print("%d points" % len(calls))


def fail_save(binaries, scratch):
    job, old, new, calls = prepared(binaries, scratch)
    told = 0
    for error in (errno.EIO, errno.ENOSPC, errno.EDQUOT, errno.EACCES):
        for number, where in job.points(calls):
            where = errno.errorcode[error] + " " + where
            said = job.steps("save", watch={"fail": number, "errno": error}).stdout
            now = job.bytes_of_archive()
            check(now in (old, new), where, "the archive is neither the old nor the new one")
            job.edits_are_somewhere(where)
            success = "was created successfully" in said
            check(success != ("error:" in said), where, "unclear outcome:", said)
            check(now == new or not success, where, "success told, archive is the old one")
            check(success or job.edits.items() <= read_tree(job.work).items(), where,
                  "failure told, work folder not kept")
            told += not success
            job.save_again(where)
    check(told > 3, "too few failures reached the user:", told)
    print("%d calls, four errors each, %d told to the user" % (len(calls), told))


def fail_extract(binaries, scratch):
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of("extract")
    for error in (errno.EIO, errno.ENOSPC):
        for number, where in job.points(calls):
            where = errno.errorcode[error] + " " + where
            job.steps("extract", watch={"fail": number, "errno": error})
            for name, content in job.extracted().items():
                check(content == ENTRIES.get(name), where, "half a file:", name)
            if job.is_extracted():
                job.steps("save")
            check(archive_content(job.archive) == ENTRIES, where, "the archive changed")
    print("%d calls, two errors each" % len(calls))


def disks(binaries, scratch):
    """A save on disks that lack something: it succeeds all the same, or else says what the user
    must know, and the archive is whole under its name or under the one that is told. An extracted
    file has its entry's time."""
    saved, kept, full = "was created successfully", "was kept as ", "the disk has no room for it: "
    rows = [
        ("no locks", " locks ", saved),
        ("no locks, of another machine", " local locks ", saved),
        ("no locks without the right to write", " read-locks ", saved),
        ("a name that is lost and given back", " open-rename ", saved),
        ("a name that is lost for good", " held-rename any-rename ", kept),
        ("the same, of another machine", " local held-rename any-rename ", kept),
        ("room that is not there", " room ", full),
    ]
    job = Job(binaries, scratch)
    job.extract_and_edit()
    write_files(job.base, {"other.vl2": job.bytes_of_archive()})
    job.freeze()
    for where, lacks, told in rows:
        job.reset()
        before = archive_content(job.archive)
        said = job.steps("save", watch={"lacks": lacks}).stdout
        check(told in said, where, "not told:", said)
        if told == kept:
            found, = job.kept()
            check(not os.path.exists(job.archive) and found in said, where, "not told where:", said)
            # Nor does a save of another archive remove it.
            job.run("jobDriver", "Other", "extract", "save")
            job.name_kept()
        check(not job.kept(), where, "left", job.kept())
        check(archive_content(job.archive) == (before if told == full else job.wanted), where,
              "the archive holds something else")
        job.edits_are_somewhere(where)
        job.save_again(where)
    job = Job(binaries, scratch, lacks=" one-time ")
    job.steps("extract")
    for name in ENTRIES:
        check(os.stat(os.path.join(job.work, name)).st_mtime < 1e9, name, "has lost its entry's time")
    print("%d disks" % (len(rows) + 1))


def order(binaries, scratch):
    """The new archive's data is durable before it gets the name, the name is durable before the
    first file of the work folder goes."""
    job, _, _, calls = prepared(binaries, scratch)

    def places(names, wanted):
        return [i for i, (name, path) in enumerate(calls) if name in names and wanted(path)]

    inside = lambda path: path.startswith(job.base + "/.orvel-")  # noqa: E731
    writes = places("write pwrite pwrite64 copy_file_range ioctl".split(),
                    inside)
    data_syncs = places(("fsync", "fdatasync"), inside)
    rename, = places(("rename", "renameat", "renameat2"), lambda path: path == job.archive)
    folder_syncs = [i for i in places(("fsync",), lambda path: path == job.base) if i > rename]
    removals = places(("unlink", "unlinkat", "rmdir"), lambda path: path.startswith(job.work))
    check(writes and data_syncs and folder_syncs and removals, "not all steps were seen:", calls)
    check(max(writes) < max(data_syncs) < rename, "renamed before the data was durable")
    check(folder_syncs[0] < min(removals), "cleaned up before the name was durable")
    print("%d writes, data sync, rename, folder sync, %d removals: in order" % (
        len(writes), len(removals)))


CHANGING = ("write pwrite64 writev pwritev copy_file_range sendfile ftruncate truncate fallocate fsync "
            "fdatasync syncfs sync_file_range rename renameat renameat2 link linkat symlink symlinkat "
            "unlink unlinkat rmdir mkdir mkdirat fchmod chmod fchmodat fchown chown fchownat utimensat "
            "setxattr lsetxattr fsetxattr removexattr lremovexattr fremovexattr openat open creat")


def watched(binaries, scratch):
    """Every call that changes something on the disk is one that the other tests stop at."""
    log = os.path.join(scratch, "strace.log")
    for step in ("extract", "save"):
        job = Job(binaries, scratch)
        if step == "save":
            job.extract_and_edit()
        job.freeze()
        calls = job.calls_of(step)
        job.reset()
        done = subprocess.run(["strace", "-f", "-y", "-o", log, "-e", "trace=" + ",".join(CHANGING.split()),
                               os.path.join(binaries, "jobDriver"), "Job", step], env=job.env,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            print("no right to trace")
            return SKIPPED
        with open(log, encoding="utf-8") as file:
            traced = [line for line in file if job.live in line and "resumed>" not in line
                      and (" open" not in line or re.search("O_(CREAT|TRUNC|TMPFILE)", line))]
        check(len(traced) == len(calls), step, "makes", len(traced), "calls:", *traced, calls)
        print("%s: %d calls, all watched" % (step, len(calls)))
    return 0


if __name__ == "__main__":
    main(__doc__, {"kill-save": kill_save,
                   "kill-save-large": lambda *where: kill_save(*where, **LARGE),
                   "kill-save-share": lambda *where: kill_save(*where, **SHARE),
                   "kill-save-held": lambda *where: kill_save(*where, **HELD),
                   "kill-extract": kill_extract,
                   "kill-extract-poor": lambda *where: kill_extract(*where, **POOR),
                   "kill-settings": kill_settings,
                   "fail-save": fail_save, "fail-extract": fail_extract,
                   "disks": disks, "order": order,
                   "watched": watched})
