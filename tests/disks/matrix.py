#!/usr/bin/env python3
"""The whole job of the real main window on many kinds of disk: extract, edit, save, cancel, kills, a
full disk, two programs at once.

usage: matrix.py BINARIES SCRATCH [--short | [--list-missing FILE] DISK[: ROW]...]
  --short         only the disks that every machine has
  --list-missing  writes those of the arguments whose disks this machine could not make to FILE

Prints a line for each disk, with each row as it begins, and in the end which disks this machine could not
make. The exit code is 77 if it could make none."""

import collections
import contextlib
import faulthandler
import glob
import io
import multiprocessing
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import traceback
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "faults"))

# pylint: disable=wrong-import-position
import faults
import hardship
import together
from disks import DISKS, NotMade
from job import ENTRIES, SKIPPED, Job, archive_content, check, ended, go, read_tree, write_files

SAVED = "Job.vl2 was created successfully"
ROW_SECONDS = 600  # in which a row of an emulated machine ends


def judge(path):
    """Two more readers of archives find nothing wrong."""
    for words in (["7z", "t", path], ["bsdtar", "-tf", path]):
        done = subprocess.run(words, capture_output=True, text=True, check=False)
        check(done.returncode == 0, words[0], "finds a fault in the archive:", done.stdout, done.stderr)


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
        check(not read_tree(job.work), "files stay in the work folder:", read_tree(job.work))
        job.nothing_left("after a save")
        said = job.steps("extract", step).stdout
        check("error:" not in said, said)
        check(job.bytes_of_archive() == saved, "the archive was written without an edit")
    check(not read_tree(job.work), "files stay after Cancel:", read_tree(job.work))


def emptied(work):
    """Checks that no file stays. A server may list a deleted file until the client has closed it for good,
    which SMB's does up to a second later, and then nobody can open it."""
    for _ in range(20):
        with contextlib.suppress(FileNotFoundError):
            if not read_tree(work):
                return
        time.sleep(0.2)
    check(False, "files stay in the work folder:", os.listdir(work))


def case(binaries, scratch, **places):
    """Of two names that differ only in case, a disk holds both, or one, and the note names the other. A
    save without an edit leaves both entries, and an edit goes to the file's own entry, also if its
    program has written a new file, under the other name."""
    lower, upper = "scripts/client.cs", "scripts/CLIENT.cs"
    other = {upper: b"// the other one\r\n" * 20}

    def extract(job):
        """The name of the file, or None for two, and how it is listed."""
        said = job.steps("extract").stdout
        listed = {name: text for name, text in job.extracted().items() if name.lower() == lower}
        if len(listed) == 2:
            check(listed == {name: job.entries[name] for name in listed}, "extracted are", listed)
            return None, lower
        (spelling, text), = listed.items()
        named, skipped = (lower, upper) if text == ENTRIES[lower] else (upper, lower)
        check(text == job.entries[named], "extracted is", listed)
        check(skipped in said and "upper and lower case" in said, "the note says:", said)
        return named, spelling

    for entries in {**ENTRIES, **other}, {**other, **ENTRIES}:
        job = Job(binaries, scratch, **places)
        job.entries = entries
        job.make_archive(entries)
        extract(job)
        saved = job.bytes_of_archive()
        said = job.steps("save").stdout
        check(SAVED in said, "not saved:", said)
        check(job.bytes_of_archive() == saved, "the archive was written without an edit")
        for renames in (False, True):
            job.make_archive(entries)
            named, listed = extract(job)
            edit = b"// edited %d\r\n" % renames * 70
            if renames:
                os.remove(os.path.join(job.work, listed))
                write_files(job.work, {"scripts/new": edit})
                under = lower if named is None or listed == upper else upper
                os.rename(os.path.join(job.work, "scripts/new"), os.path.join(job.work, under))
            else:
                write_files(job.work, {lower: edit})
            said = job.steps("save").stdout
            check(SAVED in said, "not saved:", said)
            check(archive_content(job.archive) == {**entries, named or lower: edit},
                  "the archive holds something else after an edit of", named or lower)
            emptied(job.work)


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


def refusals(binaries, scratch, **places):
    """What a disk does not support is not tried again for each file."""
    job = Job(binaries, scratch, **places)
    entries = {"many/f%d.cs" % i: b"echo(%d);\r\n" % i for i in range(40)}
    job.make_archive(entries)
    log = Path(scratch, "strace.log")
    pattern = re.compile(r" (?!readlink)(\w+)\(.*%s.* = -1 (EOPNOTSUPP|EINVAL|ENOSYS|EPERM|EISDIR) "
                         % re.escape(job.temp))
    for step in ("extract", "save"):
        if step == "save":
            write_files(job.work, {name: b"// edited\r\n" + text for name, text in entries.items()})
        subprocess.run(["strace", "-f", "-y", "-o", log, os.path.join(binaries, "jobDriver"), "Job", step],
                       env=job.env, capture_output=True, check=True)
        refused = collections.Counter(match[1] for match in pattern.finditer(log.read_text()))
        # Two threads may be the first.
        check(max(refused.values(), default=0) <= 4, step, "was refused:", refused)
    check(not read_tree(job.work), "files stay in the work folder:", read_tree(job.work))


def two(binaries, scratch, **places):
    together.save(binaries, scratch, sample=3, **places)


def set_clock(shift):
    time.clock_settime(time.CLOCK_REALTIME, time.time() + shift)


def clock(binaries, scratch, **places):
    """The clock is set between an extraction and a save, and then set again while it saves."""
    year = 31_556_952
    for shift in (-3600, 3600, -year, year):
        where = "clock set by %d s:" % shift
        job = Job(binaries, scratch, **places)
        job.extract_and_edit()
        job.freeze()
        calls = job.calls_of("save")
        job.reset()
        set_clock(shift)
        write_files(job.work, job.edits)
        first = together.stopped(job, "save", len(calls) // 2, where)
        set_clock(-shift)
        job.edits.update(together.LATE)
        job.wanted.update(together.LATE)
        together.edit_late(job)
        together.go_on(first, where)
        job.edits_are_somewhere(where)
        job.save_again(where)


def same_tick(binaries, scratch, temp):
    hardship.same_tick(binaries, temp, scratch, hardship.SAME_TICK[:2])


# Name, test, what lies on the disk, and on which disks if not on all.
ROWS = [
    ("job", whole, "game temp"),
    ("job, game folder there", whole, "game"),
    ("job, work folder there", whole, "temp"),
    ("case", case, "temp"),
    ("refusals", refusals, "game temp"),
    ("kills", kills, "game temp"),
    ("full", full, "game temp", DISKS.keys() - {"rclone"}),  # which has room in its cache
    ("two programs", two, "game temp"),
    ("same tick", same_tick, "temp", ("ext2", "vfat")),  # whole seconds and two
]


if os.environ.get("ORVEL_CLOCK_IS_FREE"):
    ROWS.append(("clock", clock, "game temp"))


def waits_of(session):
    """Where in the system each thread of a session's processes waits."""
    text = ""
    for folder in glob.glob("/proc/[0-9]*/task/*"):
        with contextlib.suppress(OSError):
            name, fields = Path(folder, "stat").read_text(encoding="utf-8").rsplit(")", 1)
            if int(fields.split()[3]) == session:
                text += "%s) %s\n%s" % (name, fields.split()[0], Path(folder, "stack").read_text(encoding="utf-8"))
    return text


def end_session(session):
    for process in glob.glob("/proc/[0-9]*"):
        with contextlib.suppress(OSError):
            if os.getsid(int(os.path.basename(process))) == session:
                os.kill(int(os.path.basename(process)), signal.SIGKILL)


def try_row(test, *arguments, **places):
    """What failed, "" for nothing. A row that hangs fails with the calls that its processes wait in."""
    def attempt():
        os.setsid()
        faulthandler.dump_traceback_later(ROW_SECONDS - 1, file=sys.__stderr__)
        failed = ""
        try:
            with contextlib.redirect_stdout(io.StringIO()):
                test(*arguments, **places)
        except Exception:  # pylint: disable=broad-exception-caught
            failed = traceback.format_exc(limit=-4).strip()
        sender.send(failed)

    receiver, sender = multiprocessing.Pipe(duplex=False)
    process = multiprocessing.get_context("fork").Process(target=attempt)
    process.start()
    sender.close()
    try:
        return receiver.recv() if receiver.poll(ROW_SECONDS) else "hangs:\n" + waits_of(process.pid)
    except EOFError:
        return "ended without a result"
    finally:
        end_session(process.pid)
        process.join(10)


def try_rows(binaries, scratch, disk, rows):
    """Tries each row on a new disk and prints it. Yields whether it failed."""
    for number, (name, test, parts, *_) in enumerate(rows):
        shutil.rmtree(scratch, ignore_errors=True)
        os.makedirs(scratch)
        with disk(scratch) as path:
            print("%s%s" % ("; " if number else "", name), end="", flush=True)
            began = time.monotonic()
            # Beside each other: all is below the folder that the call watcher watches.
            places = {part: os.path.join(path, part) for part in parts.split()}
            failed = try_row(test, binaries, os.path.join(scratch, "job"), **places)
            print(" FAILED: %s\n" % failed if failed else " %d s" % (time.monotonic() - began), end="", flush=True)
            yield failed != ""


def rows_of(disk, short, row):
    rows = [each for each in ROWS if (len(each) < 4 or disk in each[3]) and not (short and "," in each[0])]
    return [each for each in rows if each[0] == row] if row else rows


def main():
    binaries, scratch, *wanted = sys.argv[1:]
    list_missing = wanted[1] if wanted[:1] == ["--list-missing"] else None
    if list_missing:
        wanted = wanted[2:]
    short = wanted == ["--short"]
    if short:
        wanted = [name for name, (_, usual) in DISKS.items() if usual]
    missing, failures, made = {}, 0, 0
    for argument in wanted or DISKS:
        name, _, row = argument.partition(": ")
        rows = rows_of(name, short, row) if name in DISKS else []
        if not rows:
            sys.exit("no such disk or row: %s; there are: %s" % (argument, "; ".join(DISKS)))
        print("%-24s " % name, end="", flush=True)
        try:
            for failed in try_rows(binaries, os.path.abspath(scratch), DISKS[name][0], rows):
                failures += failed
            print()
            made += 1
        except NotMade as why:
            print("not made")
            missing[argument] = "%s (%s)" % (name, why)
    shutil.rmtree(scratch, ignore_errors=True)
    if list_missing:
        Path(list_missing).write_text("".join(name + "\n" for name in missing), encoding="utf-8")
    if missing:
        print("refused by this machine:" if os.geteuid() == 0 else "needs root:", ", ".join(missing.values()))
    if failures:
        sys.exit(1)
    sys.exit(0 if made and not missing else SKIPPED)


if __name__ == "__main__":
    main()
