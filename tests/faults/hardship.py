#!/usr/bin/env python3
"""The program on a machine that lacks a resource, or with a file or folder in the way. The exit code
is 77 if this machine or a user other than root cannot make one of the faults."""

import contextlib
import glob
import os
import re
import random
import resource
import stat
import subprocess
import tempfile
import time
import zipfile

from powercut import on_disk
from job import (ENTRIES, Job, archive_content, check, ended, go, main, not_made,
                 read_tree, until_pause, write_files)

# File modes do not bind root: faults made by a mode are tried as another user.
NOT_ROOT = {"user": 65534} if os.geteuid() == 0 else {}
LARGE = {"scripts/noise.cs": random.Random(1).randbytes(3 << 20)}


class NotHere(Exception):
    """This machine cannot make the fault."""


def command(*words):
    if subprocess.run(words, stderr=subprocess.DEVNULL, check=False).returncode != 0:
        raise NotHere(" ".join(words[:2]))


# --- faults: each lasts for a `with` block -------------------------------------------------------

@contextlib.contextmanager
def disk(folder, options):
    """The folder, with its files, on a small disk of its own. Yields a call that changes options."""
    held = read_tree(folder)
    os.makedirs(folder, exist_ok=True)
    command("mount", "-t", "tmpfs", "-o", options, "tmpfs", folder)
    try:
        write_files(folder, held)
        yield lambda changed: command("mount", "-o", "remount," + changed, folder)
        held = read_tree(folder)
    finally:
        command("umount", folder)
    write_files(folder, held)


@contextlib.contextmanager
def write_protected(folder):
    with disk(folder, "size=64m") as remount:
        remount("ro")
        yield
        remount("rw")


@contextlib.contextmanager
def mode(path, bits):
    before = stat.S_IMODE(os.stat(path).st_mode)
    os.chmod(path, bits)
    yield
    os.chmod(path, before)


def small_files_only():
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))


# --- the tests -----------------------------------------------------------------------------------

def tried(rows, one):
    """Runs every row; returns the exit code."""
    missing = []
    for name, *rest in rows:
        try:
            one(name + ":", *rest)
        except NotHere as why:
            missing.append("%s (%s)" % (name, why))
    print("%d faults" % (len(rows) - len(missing)))
    return not_made(missing)


def where_all_may_enter(test):
    """Copies the test programs to a folder that every user can reach, with a scratch folder: root may
    have built below one that is closed to others."""
    def run(binaries, scratch):
        if os.geteuid() != 0:
            return test(binaries, scratch)
        os.umask(0o022)
        with tempfile.TemporaryDirectory(prefix="orvel-", dir="/var/tmp") as folder:
            os.chmod(folder, 0o755)
            names = ("jobDriver", "orvel-reg", "libvl2uzip.so", "libvl2zip.so")
            command("install", "-t", folder, *(os.path.join(binaries, name) for name in names))
            return test(folder, os.path.join(folder, "job"))
    return run


def obstructed(job, step, where, fault, options, left=lambda: None):
    """Runs the step with the fault, which begins after the program has listed the archive. Returns
    its output and the result of `left`, called before the fault ends."""
    job.reset()
    os.makedirs(job.temp, exist_ok=True)
    if options:
        command("chmod", "-R", "a+rwX", job.live)
    with job.paused(step, **options) as process, fault():
        go(process)
        return ended(process, where), left()


@where_all_may_enter
def save(binaries, scratch):
    """The archive stays as it is, the edits stay in the work folder, the message names the cause, and
    without the fault the next save succeeds."""
    job = Job(binaries, scratch, more=LARGE)
    job.extract_and_edit()
    job.freeze()
    old = job.bytes_of_archive()
    unread = os.path.join(job.work, "missions", "two.mis")
    rows = [
        ("full disk", lambda: disk(job.base, "size=%dk" % (len(old) // 1024 + 64)), {}, job.archive,
         "the disk has no room for it: "),
        ("write-protected disk", lambda: write_protected(job.base), {}, job.archive, "Read-only"),
        ("folder without the right to write", lambda: mode(job.base, 0o555), NOT_ROOT, job.archive,
         "Permission denied"),
        ("file without the right to read", lambda: mode(unread, 0), NOT_ROOT, "missions/two.mis",
         "Permission denied"),
        ("small files only", contextlib.nullcontext, {"preexec_fn": small_files_only}, job.archive,
         "File too large"),
    ]

    def one(where, fault, options, named, reason):
        out, _ = obstructed(job, "save", where, fault, options)
        lines = [line for line in out.splitlines() if line.startswith("error: Job.vl2 was not saved")]
        check(lines and all(text in lines[0] for text in (named, reason, job.work)), where,
              "not reported:", out)
        check(job.bytes_of_archive() == old, where, "the archive changed")
        check(read_tree(job.work) == job.wanted, where, "the work folder changed")
        job.nothing_left(where)
        job.save_again(where)

    return tried(rows, one)


@where_all_may_enter
def extract(binaries, scratch):
    """Whole files or none, the archive stays as it is, a note names the cause, and without the fault
    the next extraction is whole."""
    job = Job(binaries, scratch)
    job.freeze()
    rows = [
        ("full disk", lambda: disk(job.temp, "size=16k"), {}, "not enough room"),
        ("disk without room for more files", lambda: disk(job.temp, "size=9m,nr_inodes=6"), {},
         "the disk has no room for it: "),
        ("write-protected disk", lambda: write_protected(job.temp), {}, "Read-only"),
        ("folder without the right to write", lambda: mode(job.temp, 0o555), NOT_ROOT,
         "Permission denied"),
    ]

    def one(where, fault, options, reason):
        out, files = obstructed(job, "extract", where, fault, options,
                                 lambda: read_tree(job.work))
        lines = [line for line in out.splitlines()
                 if "Not every file was extracted" in line or "cannot be edited" in line]
        check(lines and reason in lines[0], where, "not reported:", out)
        check(files.items() <= ENTRIES.items(), where, "half a file")
        job.extract_again(where)

    return tried(rows, one)


def limits(binaries, scratch):
    """An archive of thousands of files and some large ones is listed, extracted and saved with few
    files, little memory or no threads."""
    noise = random.Random(2)
    entries = {"scripts/d%d/f%d.cs" % (i % 300, i): b"echo(%d);\r\n" % i * 40 for i in range(3000)}
    for i in range(6):
        entries["textures/large%d.png" % i] = noise.randbytes(2 << 20) * 4 + bytes(12 << 20)
    edits = {name: content + b"// edited\r\n" for name, content in list(entries.items())[5::250]}
    edits["textures/large3.png"] = entries["textures/large3.png"][::-1]
    job = Job(binaries, scratch)
    with zipfile.ZipFile(job.archive, "w", zipfile.ZIP_DEFLATED, compresslevel=1) as archive:
        for name, content in entries.items():
            archive.writestr(name, content)
    job.freeze()
    log = os.path.join(job.root, "calls.log")

    def few_files():
        resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))

    def little_space(process):
        with open("/proc/%d/statm" % process.pid, encoding="ascii") as file:
            used = int(file.read().split()[0]) * resource.getpagesize()
        resource.prlimit(process.pid, resource.RLIMIT_AS, (used + (256 << 20),) * 2)

    rows = [
        ("64 open files", {"preexec_fn": few_files}, None),
        ("256 MiB of address space left", {}, little_space),
        ("no threads", {"watch": {"threads": "none", "log": log}}, None),
    ]

    def one(where, options, limit):
        job.reset()
        process = job.paused("extract", "pause", "save", **options)
        if limit is not None:
            limit(process)
        go(process)
        said = until_pause(process)
        check(read_tree(job.work) == entries, where, "not extracted as a whole:", *said)
        write_files(job.work, edits)
        go(process)
        out = ended(process, where)
        check("was created successfully" in out, where, "not saved:", out)
        check(archive_content(job.archive) == {**entries, **edits} and not read_tree(job.work), where,
              "the archive holds something else, or the work folder is not empty")

    code = tried(rows, one)
    with open(log, encoding="utf-8") as file:
        check(" no-thread " in file.read(), "no thread was started, nothing was tested")
    return code


SAME_TICK = (("platformTest", "WorkFolderCleanerTest.AfterASave*:*.BytesAre*"),
             ("vl2zip_test", "PackFaults.*DuringTheSave*"),
             ("windowTest", "frmMainSave.*"))


def same_tick(binaries, folder, scratch, programs=SAME_TICK):
    """The tests about files that change within a tick of the disk's clock, on the disk of a folder."""
    os.makedirs(folder, exist_ok=True)
    environment = {**os.environ, "HOME": scratch, "TMPDIR": folder, "QT_QPA_PLATFORM": "offscreen"}
    os.makedirs(scratch, exist_ok=True)
    for program, tests in programs:
        done = subprocess.run([os.path.join(binaries, program), "--gtest_filter=" + tests], check=False,
                              env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        ran = re.search(r"\[  PASSED  \] [1-9]", done.stdout)
        check(done.returncode == 0 and ran, program, done.stdout[-2000:])


@on_disk("-I", "128")
def seconds(binaries, disk, scratch):
    same_tick(binaries, disk.path, scratch)


def clocks(binaries, scratch):
    """Whatever the clock, the time zone and the dates of files do between an extraction and a save: no
    edit is lost, no file is left, and a second save has nothing to do."""
    library = next(iter(glob.glob("/usr/lib/*/faketime/libfaketime.so.1")), "libfaketime")

    def at(offset):
        return {"FAKETIME": offset, "LD_PRELOAD": library, "NO_FAKE_STAT": "1",
                "FAKETIME_DONT_FAKE_MONOTONIC": "1"}

    east, west, year = {"TZ": "Pacific/Kiritimati"}, {"TZ": "Pacific/Pago_Pago"}, 31_556_952
    rows = [(offset + " later", {}, at(offset), None) for offset in ("-1h", "+1h", "-1y", "+1y")]
    rows += [("a server's clock ahead", at("-5m"), at("-5m"), None),
             ("a zone further west", east, west, None), ("a zone further east", west, east, None)]
    rows += [("edits of %d" % date, {}, {}, (date - 1970) * year)
             for date in (1902, 1970, 1979, 2037, 2108, 2400)]

    def one(where, before, after, date):
        if "LD_PRELOAD" in after and not os.path.exists(library):
            raise NotHere("libfaketime is not installed")
        job = Job(binaries, scratch)
        usual = dict(job.env)
        job.env.update(before)
        job.extract_and_edit()
        for name in job.edits if date is not None else ():
            os.utime(os.path.join(job.work, name), (date, date))
        job.env = {**usual, **after}
        began = time.monotonic()
        said = job.steps("save").stdout
        check("was created successfully" in said and "error:" not in said, where, said)
        check(time.monotonic() - began < 10, where, "took", time.monotonic() - began, "s")
        check(archive_content(job.archive) == job.wanted, where, "another content")
        check(not read_tree(job.work), where, "left", sorted(read_tree(job.work)))
        job.nothing_left(where)
        saved = job.bytes_of_archive()
        job.env = {**usual, **before}
        job.steps("extract")
        job.env = {**usual, **after}
        job.steps("save")
        check(job.bytes_of_archive() == saved and not read_tree(job.work), where, "saved without an edit")

    return tried(rows, one)


if __name__ == "__main__":
    main({"clocks": clocks, "save": save, "extract": extract, "limits": limits, "seconds": seconds})
