#!/usr/bin/env python3
"""Kills the program before each of its file calls, or makes each of them fail, and checks what is
on the disk."""

import errno
import os
import re
import subprocess

from job import (EDITS, ENTRIES, PROGRAM_KEY, SKIPPED, Job, archive_content, check,
                 main, read_tree, was_killed, write_files)

# Data before the archive, and a file of more than 16 MiB, which is not packed in memory.
LARGE = {"front": b"#!/bin/sh\nexit 0\n" * 50,
         "more": {"scripts/large.cs": b"echo(\"%060d\");\r\n" % 0 * 250_000}}

# A file system without unnamed files, hard links and exclusive renames.
POOR = {"lacks": " nameless linkat renameat2 "}
# A network share, on which another program may have the archive open.
SHARE = {"lacks": " local open-rename read-locks reopen "}
HELD = {"lacks": " local held-rename renameat2 "}


# More files than one thread of a clean-up deletes, edits among them.
CROWD = {"sample": 14, "crowd": {"set%d/%d.cs" % (i // 60, i): b"// %d\r\n" % i for i in range(480)},
         "more": {"set%d/%d.cs" % (i // 60, i): b"// edited\r\n" for i in range(30, 480, 60)}}

# What another program has put into the archive since the extraction.
NEWER = {"scripts/client.cs": b"// newer\r\n" * 70}


def prepared(binaries, scratch, **options):
    """A job to save; the archive's bytes before and after an undisturbed save, and its calls."""
    job = Job(binaries, scratch, **options)
    job.extract_and_edit()
    job.freeze()
    old = job.bytes_of_archive()
    calls = job.calls_of("save")
    check(archive_content(job.archive) == job.wanted, "an undisturbed save left another content")
    check(old != job.bytes_of_archive(), "the save changed nothing")
    return job, old, job.bytes_of_archive(), calls


def kills(number):
    return {"kill": number}


def failures(error):
    return lambda number: {"fail": number, "errno": error}


def interrupted_saves(binaries, scratch, *faults, before=lambda: None, after=lambda: None, **options):
    """A save with each fault at each call: the archive is the old or the new one, every edit is in it
    or in the work folder, the user is told which, and the next save succeeds. `before` and `after`
    are what happens to the disk around each run."""
    job, old, new, calls = prepared(binaries, scratch, **options)
    outcomes = {old: 0, new: 0}
    for fault in faults or [kills]:
        # After the last call the program comes to its end.
        for number, where in job.points([*calls, ("end", "")]):
            watch = fault(number)
            where = "%s %s" % (watch, where)
            before()
            done = job.steps("save", watch=watch, must=False)
            after()
            job.name_kept()
            now = job.bytes_of_archive()
            # Some disks change a file's time, which its entry gets, when it is read.
            if job.sample is not None and now != old and archive_content(job.archive) == job.wanted:
                now = new
            check(now in outcomes, where, "the archive is neither the old nor the new one")
            outcomes[now] += 1
            job.edits_are_somewhere(where)
            if not was_killed(done):
                check(done.returncode == 0, where, done.stdout)
                success = "was created successfully" in done.stdout
                check(success != ("error:" in done.stdout), where, "unclear outcome:", done.stdout)
                check(now == new or not success, where, "reported a success, archive is the old one")
                check(success or job.edits.items() <= read_tree(job.work).items(), where,
                      "reported a failure, work folder not kept")
            recognised = job.save_again(where)
            check(now == new or recognised, where, "work folder not recognised")
    check(min(outcomes.values()) > (3 if job.sample is None else 0), "too few points reached:", outcomes.values())
    print("%d points, archive old after %d, new after %d" % (sum(outcomes.values()), *outcomes.values()))


def interrupted_cancel(binaries, scratch, **options):
    """A Cancel that is killed at each call: the archive is as it was, and each edited file is whole in
    the work folder or in the trash."""
    job = Job(binaries, scratch, **options)
    job.extract_and_edit()
    job.freeze()
    old = job.bytes_of_archive()
    calls = job.calls_of("cancel")
    trash = os.path.join(job.live, "data", "Trash", "files")
    check(len(read_tree(trash)) == len(job.edits), "in the trash are", read_tree(trash).keys())
    tried = 0
    for number, where in job.points(calls):
        tried += 1
        job.steps("cancel", watch=kills(number), must=False)
        check(job.bytes_of_archive() == old, where, "the archive changed")
        there = [*read_tree(job.work).values(), *read_tree(trash).values()]
        for name, content in job.edits.items():
            check(content in there, where, "lost the edit of", name)
        job.steps("ready", "cancel")
        job.nothing_left(where)
    print("%d points" % tried)


def interrupted_extractions(binaries, scratch, *faults, **disk):
    """An extraction with each fault at each call: each file is whole or not there, the archive as it
    was, and the next extraction is whole."""
    job = Job(binaries, scratch, **disk)
    job.freeze()
    calls = job.calls_of("extract")
    check(read_tree(job.work) == ENTRIES, "an undisturbed extraction left", sorted(read_tree(job.work)))
    check(len(calls) > len(ENTRIES), "too few calls seen")
    killed = tried = 0
    for fault in faults:
        for number, where in job.points(calls):
            watch = fault(number)
            where = "%s %s" % (watch, where)
            done = job.steps("extract", watch=watch, must=False)
            tried += 1
            killed += was_killed(done)
            check(was_killed(done) or done.returncode == 0, where, done.stdout)
            for name, content in job.extracted().items():
                check(content == ENTRIES.get(name), where, "half a file:", name)
            if number % 2 == 0 and ".record)" not in where:
                job.extract_again(where)
                continue
            # What an unfinished extraction, or one with another record, has left sets no newer
            # entry back.
            newer = {**ENTRIES, **NEWER}
            job.make_archive(newer)
            said = job.steps("ready", "save").stdout
            check("error:" not in said and archive_content(job.archive) == newer, where,
                  "a newer entry was set back:", said)
            job.nothing_left(where)
    check(killed * 2 > tried or kills not in faults, "too few points reached:", killed)
    print("%d points, %d faults each" % (tried / len(faults), len(faults)))


def settings(binaries, scratch):
    """A write of a setting with each fault at each call is done or reported, and loses no other."""
    job = Job(binaries, scratch)
    job.freeze()

    def add(watch=None, **options):
        watch = watch and {**watch, "folder": job.config}
        return job.register(PROGRAM_KEY, "other", "new text", watch=watch, **options)

    def value(name):
        return job.run("orvel-reg", "query", PROGRAM_KEY, name, must=False).stdout.strip()

    calls = job.calls_of(add)
    for fault in (kills, failures(errno.ENOSPC)):
        for number, where in job.points(calls):
            done = add(watch=fault(number), must=False)
            check(value("tempdir") == job.temp, where, "another value was lost")
            if fault == kills:
                check(was_killed(done), where, "was not reached")
            else:
                check((done.returncode == 0) == (value("other") == "new text"), where, "unclear")
            add()
            check(value("other") == "new text", where, "the next write is not there")
    print("%d points" % len(calls))


def commands(binaries, scratch):
    """Each command of orvel-vl2 that writes, with each fault at each call: the archive is the old or
    the new one, a success is reported only for the new one, and the next run leaves nothing behind."""
    job = Job(binaries, scratch)
    tree = os.path.join(job.live, "tree")
    write_files(tree, EDITS)
    job.freeze()
    rows = [("save", job.archive, tree), ("build", tree, job.archive), ("remove", job.archive, "readme.txt"),
            ("rename", job.archive, "readme.txt", "liesmich.txt")]
    for row in rows:
        def run(**options):
            return job.run("orvel-vl2", *row, **options)

        job.reset()
        outcomes = {job.bytes_of_archive(): 0}
        calls = job.calls_of(run)
        new = job.bytes_of_archive()
        check(new not in outcomes, row[0], "changed nothing")
        outcomes[new] = 0
        for fault in (kills, failures(errno.EIO), failures(errno.ENOSPC)):
            for number, where in job.points([*calls, ("end", "")]):
                where = "%s %s %s" % (row[0], fault(number), where)
                done = run(watch=fault(number), must=False)
                job.name_kept()
                now = job.bytes_of_archive()
                check(now in outcomes, where, "the archive is neither the old nor the new one")
                check(done.returncode != 0 or now == new, where, "reported a success")
                outcomes[now] += 1
                if now != new:
                    run()
                    check(job.bytes_of_archive() == new, where, "the next run left another archive")
                job.run("orvel-vl2", "save", job.archive, tree)
                job.nothing_left(where)
        check(min(outcomes.values()) > 1, row[0], "too few points reached:", outcomes.values())
        print("%s: %d calls, archive old after %d, new after %d" % (row[0], len(calls), *outcomes.values()))


def disks(binaries, scratch):
    """A save on disks that lack a feature succeeds, or reports the cause, and the archive is whole
    under its name or under the reported one. An extracted file has its entry's time."""
    saved, kept, full = "was created successfully", "was kept as ", "the disk has no room for it: "
    rows = [
        ("no locks", " locks ", saved),
        ("no locks, of another machine", " local locks ", saved),
        ("no locks without the right to write", " read-locks ", saved),
        ("times that reading changes", " local still-times ", saved),
        ("an archive lost by a refused rename", " open-rename ", saved),
        ("an archive that cannot be renamed back", " held-rename any-rename ", kept),
        ("the same, of another machine", " local held-rename any-rename ", kept),
        ("room that was promised but is missing", " room ", full),
    ]
    job = Job(binaries, scratch)
    job.extract_and_edit()
    write_files(job.base, {"other.vl2": job.bytes_of_archive()})
    job.freeze()
    for where, lacks, outcome in rows:
        job.reset()
        before = archive_content(job.archive)
        said = job.steps("save", watch={"lacks": lacks}).stdout
        check(outcome in said, where, "not reported:", said)
        if outcome == kept:
            found, = job.kept()
            check(not os.path.exists(job.archive) and found in said, where, "not reported where:", said)
            # A save of another archive does not remove it.
            job.run("jobDriver", "Other", "extract", "save")
            job.name_kept()
        check(not job.kept(), where, "left", job.kept())
        check(archive_content(job.archive) == (before if outcome == full else job.wanted), where,
              "the archive holds something else")
        job.edits_are_somewhere(where)
        job.save_again(where)
    extracting = (" one-time nameless steady ", " size nameless open-unlink ")
    for lacks in extracting:
        job = Job(binaries, scratch)
        said = job.steps("extract", watch={"lacks": lacks}).stdout
        check(read_tree(job.work) == ENTRIES, lacks, "entries were lost:", sorted(job.extracted()), said)
        job.nothing_left(lacks)
        for name in ENTRIES:
            check(os.stat(os.path.join(job.work, name)).st_mtime < 1e9, name, "has lost its entry's time")
    print("%d disks" % (len(rows) + len(extracting)))


def order(binaries, scratch):
    """The new archive is synced before it is renamed, and its folder before the first file of the work
    folder is deleted."""
    job, _, _, calls = prepared(binaries, scratch)

    def places(names, path):
        return [i for i, call in enumerate(calls) if re.fullmatch("(%s) %s" % (names, path), " ".join(call))]

    writes = places("p?write|copy_file_range|ioctl", job.base + "/.orvel-.*")
    data_syncs = places("fsync|fdatasync", job.base + "/.orvel-.*")
    rename, = places("rename(at2?)?", job.archive)
    folder_syncs = [i for i in places("fsync", job.base) if i > rename]
    removals = places("unlinkat|rmdir", job.work + ".*")
    check(writes and data_syncs and folder_syncs and removals, "not all steps were seen:", calls)
    check(max(writes) < max(data_syncs) < rename, "renamed before the data was durable")
    check(folder_syncs[0] < min(removals), "cleaned up before the name was durable")
    print("%d writes, data sync, rename, folder sync, %d removals: in order" % (
        len(writes), len(removals)))


# As strace has it: system calls whose names match.
CHANGING = ("/write|copy_file|sendfile|truncate|fallocate|sync|rename|^(un|sym)?link|(mk|rm)dir|ch(mod|own)|"
            "utime|(set|remove)xattr|^open|^creat")


def watched(binaries, scratch):
    """Every call that changes something on the disk is one that the other tests interrupt."""
    log = os.path.join(scratch, "strace.log")
    for step in ("extract", "save"):
        job = Job(binaries, scratch)
        if step == "save":
            job.extract_and_edit()
        job.freeze()
        calls = job.calls_of(step)
        job.reset()
        done = subprocess.run(["strace", "-f", "-y", "-o", log, "-e", "trace=" + CHANGING,
                               os.path.join(binaries, "jobDriver"), "Job", step],
                              env=job.env, capture_output=True, check=False)
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
    save, extract = interrupted_saves, interrupted_extractions
    main({
        "kill-save": save,
        "kill-save-large": lambda *where: save(*where, **LARGE),
        "kill-merge": lambda *where: save(*where, newer=NEWER),
        "kill-save-share": lambda *where: save(*where, **SHARE),
        "kill-save-held": lambda *where: save(*where, **HELD),
        "kill-extract": lambda *where: extract(*where, kills),
        "kill-extract-poor": lambda *where: extract(*where, kills, **POOR),
        "kill-cancel": interrupted_cancel,
        "kill-cancel-crowd": lambda *where: interrupted_cancel(*where, **CROWD),
        "kill-save-crowd": lambda *where: save(*where, **CROWD),
        "settings": settings, "commands": commands,
        "fail-save": lambda *where: save(*where, *map(failures, (
            errno.EIO, errno.ENOSPC, errno.EDQUOT, errno.EACCES))),
        "fail-extract": lambda *where: extract(*where, *map(failures, (errno.EIO, errno.ENOSPC))),
        "disks": disks, "order": order, "watched": watched})
