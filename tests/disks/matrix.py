#!/usr/bin/env python3
"""The whole job of the real main window on many kinds of disk: extract, edit, save, cancel, kills, a
full disk, two programs at once.

usage: matrix.py BINARIES SCRATCH [--short | [--list-missing FILE] DISK...]
  --short         only the disks that every machine has, one row each
  --list-missing  writes the names of the disks that this machine could not make to FILE

Prints a line for each disk, and in the end which disks this machine could not make. The exit code is
77 if it could make none."""

import contextlib
import io
import os
import shutil
import subprocess
import sys
import time
import traceback
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "faults"))

# pylint: disable=wrong-import-position
import faults
import together
from disks import DISKS, NotMade
from job import ENTRIES, SKIPPED, Job, archive_content, check, ended, go, read_tree

SAVED = "Job.vl2 was created successfully"


def judge(path):
    """Two more readers of archives find nothing wrong."""
    for words in (["7z", "t", path], ["bsdtar", "-tf", path]):
        done = subprocess.run(words, capture_output=True, text=True, check=False)
        check(done.returncode == 0, words[0], "finds a fault in the archive:", done.stdout, done.stderr)


def left(job):
    """The files of the work folder, without those that a FUSE client deletes late."""
    return [name for name in read_tree(job.work) if "/.fuse_hidden" not in "/" + name]


def whole(binaries, scratch, **places):
    """Extract, edit, add, save; save without an edit; cancel."""
    job = Job(binaries, scratch, **places)
    job.extract_and_edit()
    check(job.extracted() == job.wanted, "not extracted as a whole:", sorted(job.extracted()))
    said = job.steps("save").stdout
    check(SAVED in said, "not saved:", said)
    check(archive_content(job.archive) == job.wanted, "the archive holds something else")
    judge(job.archive)
    saved = job.bytes_of_archive()
    for step in ("save", "cancel"):
        check(not left(job), "files stay in the work folder:", left(job))
        job.nothing_left("after a save")
        said = job.steps("extract", step).stdout
        check("error:" not in said, said)
        check(job.bytes_of_archive() == saved, "the archive was written without an edit")
    check(not left(job), "files stay after Cancel:", left(job))


def fill(folder, leave):
    """Fills a disk but for some bytes. Returns the file that does."""
    path = os.path.join(folder, "filler")
    with open(path, "wb", buffering=0) as file:
        with contextlib.suppress(OSError):
            while True:
                file.write(bytes(1 << 20))
                os.fsync(file.fileno())
        with contextlib.suppress(OSError):
            file.truncate(max(file.tell() - leave, 0))
    return path


def full(binaries, scratch, game, temp):
    """A disk without room for the new archive: reported, nothing lost; with room again, it is saved."""
    job = Job(binaries, scratch, game=game, temp=temp,
              more={"scripts/noise.cs": os.urandom(3 << 20)})
    job.extract_and_edit()
    old = job.bytes_of_archive()
    with job.paused("save") as process:
        filler = fill(os.path.dirname(game), 1 << 20)
        go(process)
        said = ended(process, "full disk:")
    check("error: Job.vl2 was not saved" in said, "not reported:", said)
    check(job.bytes_of_archive() == old, "the archive changed")
    check(read_tree(job.work) == job.wanted, "the work folder changed")
    os.remove(filler)
    job.save_again("full disk:")


def kills(binaries, scratch, **places):
    faults.interrupted_extractions(binaries, scratch, faults.kills, sample=3, **places)
    faults.interrupted_saves(binaries, scratch, sample=5, **places)


def two(binaries, scratch, **places):
    together.save(binaries, scratch, sample=2, **places)


# Name, test, and what lies on the disk.
ROWS = [
    ("job", whole, "game temp"),
    ("job, game folder there", whole, "game"),
    ("job, work folder there", whole, "temp"),
    ("kills", kills, "game temp"),
    ("full", full, "game temp"),
    ("two programs", two, "game temp"),
]


def try_rows(binaries, scratch, disk, rows):
    """Yields row and what failed, "" for nothing, on a new disk for each row."""
    for name, test, parts in rows:
        shutil.rmtree(scratch, ignore_errors=True)
        os.makedirs(scratch)
        with disk(scratch) as path:
            # Beside each other: all is below the folder that the call watcher watches.
            places = {part: os.path.join(path, part) for part in parts.split()}
            failed = ""
            try:
                with contextlib.redirect_stdout(io.StringIO()):
                    test(binaries, os.path.join(scratch, "job"), **places)
            except Exception:  # pylint: disable=broad-exception-caught
                failed = traceback.format_exc(limit=-1).strip()
            yield name, failed


def main():
    binaries, scratch, *wanted = sys.argv[1:]
    list_missing = wanted[1] if wanted[:1] == ["--list-missing"] else None
    if list_missing:
        wanted = wanted[2:]
    short = wanted == ["--short"]
    if short:
        wanted = [name for name, (_, usual) in DISKS.items() if usual]
    for name in wanted:
        if name not in DISKS:
            sys.exit("no such disk: %s; there are: %s" % (name, "; ".join(DISKS)))
    missing, failures, made = {}, [], 0
    for name in wanted or DISKS:
        began, passed = time.monotonic(), []
        try:
            for row, failed in try_rows(binaries, os.path.abspath(scratch), DISKS[name][0],
                                        ROWS[:1] if short else ROWS):
                if failed:
                    failures.append("%s: %s: %s" % (name, row, failed))
                else:
                    passed.append(row)
        except NotMade as why:
            missing[name] = "%s (%s)" % (name, why)
            continue
        made += 1
        print("%-24s %-70s %4d s" % (name, "passed: " + "; ".join(passed), time.monotonic() - began), flush=True)
    shutil.rmtree(scratch, ignore_errors=True)
    for failure in failures:
        print(failure)
    if list_missing:
        Path(list_missing).write_text("".join(name + "\n" for name in missing), encoding="utf-8")
    if missing:
        print("refused by this machine:" if os.geteuid() == 0 else "needs root:", ", ".join(missing.values()))
    if failures:
        sys.exit(1)
    sys.exit(0 if made and not missing else SKIPPED)


if __name__ == "__main__":
    main()
