#!/usr/bin/env python3
"""Stops the program in front of each of its file calls, or makes each of them fail, and looks at
what is on the disk.

    faults.py kill-save | kill-extract | kill-settings | fail-save | fail-extract | order
              BINARIES SCRATCH

Ends with 0 where every point held; says how many points were tried.
"""

import errno
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import (EDITS, ENTRIES, PROGRAM_KEY, Job, archive_content, read_tree,  # noqa: E402
                 was_killed)

WANTED = {**ENTRIES, **EDITS}


def check(condition, *text):
    if not condition:
        raise AssertionError(" ".join(str(part) for part in text))


def edits_are_somewhere(job, where):
    """Every edited file is whole in the archive or in the work folder."""
    packed = archive_content(job.archive)
    on_disk = read_tree(job.work) if os.path.isdir(job.work) else {}
    for name, content in EDITS.items():
        check(content in (packed.get(name), on_disk.get(name)), where, "lost the edit of", name)
    for name, content in ENTRIES.items():
        if name not in EDITS:
            check(packed.get(name) == content, where, "damaged the entry", name)


def save_again(job, new, where):
    """What a person does after a crash: start, pick, save what is there."""
    state = job.steps("state").stdout
    if "state: extracted" in state:
        done = job.steps("save")
        check("error:" not in done.stdout, where, "second save failed:", done.stdout)
    else:
        check(job.bytes_of_archive() == new, where, "work folder not recognised before it was saved")
        job.steps("extract", "cancel")
    check(archive_content(job.archive) == WANTED, where, "second save left another content")
    check(not job.temporaries(), where, "left behind", job.temporaries())


def prepared(binaries, scratch):
    job = Job(binaries, scratch)
    job.extract_and_edit()
    job.freeze()
    old = job.bytes_of_archive()
    calls = job.calls_of(job.live, lambda watch: job.steps("save", watch=watch))
    new = job.bytes_of_archive()
    check(archive_content(job.archive) == WANTED, "an undisturbed save left another content")
    check(old != new, "the save changed nothing")
    return job, old, new, calls


def kill_save(binaries, scratch):
    job, old, new, calls = prepared(binaries, scratch)
    outcomes = {"old": 0, "new": 0}
    for number in range(1, len(calls) + 1):
        where = "killed at call %d (%s %s):" % (number, *calls[number - 1])
        job.reset()
        done = job.steps("save", watch={"folder": job.live, "kill": number}, must=False)
        if not was_killed(done):
            check(done.returncode == 0, where, done.stdout, done.stderr)
            continue
        now = job.bytes_of_archive()
        check(now in (old, new), where, "the archive is neither the old nor the new one")
        outcomes["old" if now == old else "new"] += 1
        edits_are_somewhere(job, where)
        save_again(job, new, where)
    check(outcomes["old"] > 3 and outcomes["new"] > 3, "too few points reached:", outcomes)
    print("%d points, archive old after %d, new after %d" % (len(calls), *outcomes.values()))


def kill_extract(binaries, scratch):
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("extract", watch=watch))
    check(len(calls) > len(ENTRIES), "too few calls seen")
    killed = 0
    for number in range(1, len(calls) + 1):
        where = "killed at call %d (%s %s):" % (number, *calls[number - 1])
        job.reset()
        done = job.steps("extract", watch={"folder": job.live, "kill": number}, must=False)
        killed += was_killed(done)
        for name, content in (read_tree(job.work) if os.path.isdir(job.work) else {}).items():
            if not name.endswith(".part"):
                check(content == ENTRIES.get(name), where, "half a file:", name)
        state = job.steps("state").stdout
        if "state: listed" in state:
            job.steps("extract")
            check({n: c for n, c in read_tree(job.work).items() if not n.endswith(".part")} == ENTRIES,
                  where, "the next extraction is not whole")
        job.steps("save")
        check(archive_content(job.archive) == ENTRIES, where, "the archive changed")
        check(not job.temporaries(), where, "left behind", job.temporaries())
    check(killed > len(ENTRIES), "too few points reached:", killed)
    print("%d points, %d reached" % (len(calls), killed))


def kill_settings(binaries, scratch):
    job = Job(binaries, scratch)
    job.freeze()

    def add(**options):
        return job.register(PROGRAM_KEY, "other", "new text", **options)

    calls = job.calls_of(job.config, lambda watch: add(watch=watch))
    for number in range(1, len(calls) + 1):
        where = "killed at call %d (%s %s):" % (number, *calls[number - 1])
        job.reset()
        check(was_killed(add(watch={"folder": job.config, "kill": number}, must=False)), where,
              "was not reached")
        kept = job.run("orvel-reg", "query", PROGRAM_KEY, "tempdir").stdout.strip()
        check(kept == job.temp, where, "another value was lost")
        add()
        check(job.run("orvel-reg", "query", PROGRAM_KEY, "other").stdout.strip() == "new text", where,
              "the next write is not there")
    print("%d points" % len(calls))


def fail_save(binaries, scratch):
    job, old, new, calls = prepared(binaries, scratch)
    told = 0
    for number in range(1, len(calls) + 1):
        for error in (errno.EIO, errno.ENOSPC, errno.EACCES):
            where = "%s at call %d (%s %s):" % (errno.errorcode[error], number, *calls[number - 1])
            job.reset()
            done = job.steps("save", must=False,
                             watch={"folder": job.live, "fail": number, "errno": error})
            check(done.returncode == 0, where, "ended with", done.returncode, done.stderr)
            now = job.bytes_of_archive()
            check(now in (old, new), where, "the archive is neither the old nor the new one")
            edits_are_somewhere(job, where)
            success = "was created successfully" in done.stdout
            check(success != ("error:" in done.stdout), where, "unclear outcome:", done.stdout)
            if success:
                check(now == new, where, "success told, archive is the old one")
            else:
                told += 1
                on_disk = read_tree(job.work)
                check(all(on_disk.get(n) == c for n, c in EDITS.items()), where,
                      "failure told, work folder not kept")
            save_again(job, new, where)
    check(told > 3, "too few failures reached the user:", told)
    print("%d calls, three errors each, %d told to the user" % (len(calls), told))


def fail_extract(binaries, scratch):
    job = Job(binaries, scratch)
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("extract", watch=watch))
    for number in range(1, len(calls) + 1):
        for error in (errno.EIO, errno.ENOSPC):
            where = "%s at call %d (%s %s):" % (errno.errorcode[error], number, *calls[number - 1])
            job.reset()
            done = job.steps("extract", must=False,
                             watch={"folder": job.live, "fail": number, "errno": error})
            check(done.returncode == 0, where, "ended with", done.returncode, done.stderr)
            for name, content in (read_tree(job.work) if os.path.isdir(job.work) else {}).items():
                check(name.endswith(".part") or content == ENTRIES.get(name), where, "half a file:", name)
            if "state: extracted" in job.steps("state").stdout:
                job.steps("save")
            check(archive_content(job.archive) == ENTRIES, where, "the archive changed")
    print("%d calls, two errors each" % len(calls))


def order(binaries, scratch):
    """The new archive's data is durable before it gets the name, the name is durable before the
    first file of the work folder goes."""
    job, _, _, calls = prepared(binaries, scratch)
    rename = next(i for i, (name, path) in enumerate(calls)
                  if name.startswith("rename") and path == job.archive)
    inside = lambda path: path.startswith(job.base + "/.orvel-")  # noqa: E731
    writes = [i for i, (name, path) in enumerate(calls) if inside(path)
              and ("write" in name or name in ("copy_file_range", "ioctl", "sendfile"))]
    data_syncs = [i for i, (name, path) in enumerate(calls)
                  if name in ("fsync", "fdatasync") and inside(path)]
    folder_syncs = [i for i, (name, path) in enumerate(calls)
                    if name == "fsync" and path == job.base]
    removals = [i for i, (name, path) in enumerate(calls)
                if name in ("unlink", "unlinkat", "rmdir") and path.startswith(job.work)]
    check(writes and data_syncs and folder_syncs and removals, "not all steps were seen:", calls)
    check(max(writes) < max(data_syncs) < rename, "renamed before the data was durable")
    durable = [i for i in folder_syncs if i > rename]
    check(durable and durable[0] < min(removals), "cleaned up before the name was durable")
    print("%d writes, data sync, rename, folder sync, %d removals: in order" % (
        len(writes), len(removals)))


def main():
    tests = {"kill-save": kill_save, "kill-extract": kill_extract, "kill-settings": kill_settings,
             "fail-save": fail_save, "fail-extract": fail_extract, "order": order}
    if len(sys.argv) != 4 or sys.argv[1] not in tests:
        sys.exit(__doc__)
    tests[sys.argv[1]](sys.argv[2], os.path.abspath(sys.argv[3]))


if __name__ == "__main__":
    main()
