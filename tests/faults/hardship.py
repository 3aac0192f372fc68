#!/usr/bin/env python3
"""The program on a machine that has run short of something, or with files that are not what they
were when it listed them.

    hardship.py save | extract | clean-up | limits | seconds BINARIES SCRATCH

Ends with 0 where all was well, with 77 where this machine refuses to make one of the faults, or only
root can make it (the others are tried).
"""

import contextlib
import os
import random
import resource
import shutil
import stat
import subprocess
import sys
import tempfile
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from powercut import on_disk  # noqa: E402
from job import (ENTRIES, Job, archive_content, check, ended, go, main, not_made,  # noqa: E402
                 read_tree, until_pause, write_files)

# Nothing is forbidden to root: what a mode forbids is tried as somebody else.
NOT_ROOT = {"user": 65534} if os.geteuid() == 0 else {}
LARGE = {"scripts/noise.cs": random.Random(1).randbytes(3 << 20)}


class NotHere(Exception):
    """This machine cannot make the fault."""


def command(*words):
    if subprocess.run(words, stderr=subprocess.DEVNULL, check=False).returncode != 0:
        raise NotHere(" ".join(words[:2]))


# --- faults: each holds for the time of a `with`, and is gone after it ---------------------------

@contextlib.contextmanager
def disk(folder, options):
    """The folder, as it is, on a small disk of its own. Gives a call that changes the options."""
    held = read_tree(folder)
    os.makedirs(folder, exist_ok=True)
    command("mount", "-t", "tmpfs", "-o", options, "tmpfs", folder)
    try:
        write_files(folder, held)
        yield lambda changed: command("mount", "-o", "remount," + changed, folder)
        # What the disk holds is to be seen without it.
        held = read_tree(folder)
    finally:
        command("umount", folder)
    write_files(folder, held)


@contextlib.contextmanager
def full(folder):
    size = sum(map(len, read_tree(folder).values()))
    with disk(folder, "size=%dk" % (size // 1024 + 64)):
        yield


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


@contextlib.contextmanager
def immutable(path):
    command("chattr", "+i", path)
    try:
        yield
    finally:
        command("chattr", "-i", path)


@contextlib.contextmanager
def moved_away(path):
    os.rename(path, path + ".moved")
    yield
    os.rename(path + ".moved", path)


def small_files_only():
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))


@contextlib.contextmanager
def made(fault, process):
    """The fault, before a process that waits for it; ends the process where there is no fault."""
    try:
        with fault():
            yield
    except NotHere:
        process.kill()
        process.communicate()
        raise


# --- what the program makes of them --------------------------------------------------------------

def tried(rows, one):
    """Runs every row; the exit code."""
    missing = []
    for name, *rest in rows:
        try:
            one(name + ":", *rest)
        except NotHere as why:
            missing.append("%s (%s)" % (name, why))
    print("%d faults" % (len(rows) - len(missing)))
    return not_made(missing)


def where_all_may_enter(test):
    """Root may have built below a folder that is closed to all others: gives the test programs and a
    scratch folder that everybody can reach."""
    def run(binaries, scratch):
        if os.geteuid() != 0:
            return test(binaries, scratch)
        os.umask(0o022)
        with tempfile.TemporaryDirectory(prefix="orvel-", dir="/var/tmp") as folder:
            os.chmod(folder, 0o755)
            for name in ("jobDriver", "orvel-reg", "libvl2uzip.so", "libvl2zip.so"):
                shutil.copy(os.path.join(binaries, name), folder)
                os.chmod(os.path.join(folder, name), 0o755)
            return test(folder, os.path.join(folder, "job"))
    return run


@where_all_may_enter
def save(binaries, scratch):
    """The archive stays as it is, the edits stay where they are, the message names what is in the
    way, and when that is gone the next save succeeds."""
    job = Job(binaries, scratch, more=LARGE)
    job.extract_and_edit()
    job.freeze()
    secret = os.path.join(job.work, "missions", "two.mis")
    rows = [
        ("full disk", lambda: full(job.base), {}, job.archive, "the disk has no room for it: "),
        ("write-protected disk", lambda: write_protected(job.base), {}, job.archive, "Read-only"),
        ("read-only archive", lambda: mode(job.archive, 0o444), {}, job.archive, "read-only"),
        ("immutable archive", lambda: immutable(job.archive), {}, job.archive, "not permitted"),
        ("immutable folder", lambda: immutable(job.base), {}, job.archive, "not permitted"),
        ("folder without the right to write", lambda: mode(job.base, 0o555), NOT_ROOT, job.archive,
         "Permission denied"),
        ("file without the right to read", lambda: mode(secret, 0), NOT_ROOT, "missions/two.mis",
         "Permission denied"),
        ("small files only", contextlib.nullcontext, {"preexec_fn": small_files_only}, job.archive,
         "File too large"),
        ("archive moved away", lambda: moved_away(job.archive), {}, "Job.vl2", "no longer there"),
        ("work folder moved away", lambda: moved_away(job.work), {}, "Job.vl2",
         "its work folder is no longer there"),
    ]

    def one(where, fault, options, named, reason):
        job.reset()
        if options:
            job.give_to_all()
        old = job.bytes_of_archive()
        process = job.paused("save", **options)
        with made(fault, process):
            go(process)
            out = ended(process, where)
            told = [line for line in out.splitlines() if line.startswith("error: Job.vl2 was not saved")]
            check(told and named in told[0] and reason in told[0] and job.work in told[0], where,
                  "not told:", out)
        check(job.bytes_of_archive() == old, where, "the archive changed")
        check(read_tree(job.work) == job.wanted, where, "the work folder changed")
        job.nothing_left(where)
        job.save_again(where)

    return tried(rows, one)


@where_all_may_enter
def extract(binaries, scratch):
    """Whole files or none, the archive untouched, a note says what is in the way, and when
    that is gone the next extraction is whole."""
    job = Job(binaries, scratch)
    job.freeze()
    old = job.bytes_of_archive()
    rows = [
        ("full disk", lambda: disk(job.temp, "size=16k"), {}, "not enough room"),
        ("disk without room for more files", lambda: disk(job.temp, "size=9m,nr_inodes=6"), {},
         "the disk has no room for it: "),
        ("write-protected disk", lambda: write_protected(job.temp), {}, "Read-only"),
        ("folder without the right to write", lambda: mode(job.temp, 0o555), NOT_ROOT,
         "Permission denied"),
        ("archive moved away", lambda: moved_away(job.archive), {}, "No such file"),
    ]

    def one(where, fault, options, reason):
        job.reset()
        os.makedirs(job.temp)
        if options:
            job.give_to_all()
        process = job.paused("extract", **options)
        with made(fault, process):
            go(process)
            out = ended(process, where)
            told = [line for line in out.splitlines()
                    if "Not every file was extracted" in line or "cannot be edited" in line]
            check(told and reason in told[0], where, "not told:", out)
            check(read_tree(job.work).items() <= ENTRIES.items(), where, "half a file")
        check(job.bytes_of_archive() == old, where, "the archive changed")
        if not job.is_extracted():
            job.steps("extract")
            check(read_tree(job.work) == ENTRIES, where, "the next extraction is not whole")

    return tried(rows, one)


def clean_up(binaries, scratch):
    """What cannot be deleted stays, the save has succeeded; an archive that somebody replaced after
    it was listed gets the work folder's files and keeps its own."""
    job = Job(binaries, scratch)
    job.extract_and_edit()
    job.freeze()
    other = {"scripts/server.cs": b"another one's", "sound/new.wav": b"RIFF" * 99}

    @contextlib.contextmanager
    def replaced():
        with zipfile.ZipFile(job.archive + ".new", "w", zipfile.ZIP_DEFLATED) as archive:
            for name, content in other.items():
                archive.writestr(name, content)
        os.rename(job.archive + ".new", job.archive)
        yield

    kept = os.path.join(job.work, "scripts", "client.cs")
    rows = [
        ("immutable file", lambda: immutable(kept), {}, {"scripts/client.cs"}),
        ("immutable folder", lambda: immutable(os.path.dirname(kept)), {},
         {"scripts/client.cs", "scripts/server.cs"}),
        ("another archive in its place", replaced, other, set()),
    ]

    def one(where, fault, more, left):
        job.reset()
        process = job.paused("save")
        wanted = {**(more or ENTRIES), **job.wanted}
        with made(fault, process):
            go(process)
            out = ended(process, where)
            check("was created successfully" in out, where, "not saved:", out)
            check(archive_content(job.archive) == wanted, where, "the archive holds something else")
            on_disk = sorted(read_tree(job.work))
            check(on_disk == sorted(left), where, "left", on_disk)
        job.wanted, before = wanted, job.wanted
        job.save_again(where)
        job.wanted = before

    return tried(rows, one)


def limits(binaries, scratch):
    """An archive of thousands of files and some large ones is listed, extracted and saved with next
    to nothing to be had."""
    noise = random.Random(2)
    entries = {"scripts/d%d/f%d.cs" % (i % 300, i): b"echo(%d);\r\n" % i * 40 for i in range(3000)}
    for i in range(6):
        entries["textures/large%d.png" % i] = noise.randbytes(4 << 20) * 3 + bytes(24 << 20)
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

    def one(where, options, injure):
        job.reset()
        process = job.paused("extract", "pause", "save", **options)
        if injure is not None:
            injure(process)
        go(process)
        said = until_pause(process)
        check(read_tree(job.work) == entries, where, "not extracted as a whole:", *said)
        write_files(job.work, edits)
        go(process)
        out = ended(process, where)
        check("was created successfully" in out, where, "not saved:", out)
        check(archive_content(job.archive) == {**entries, **edits}, where,
              "the archive holds something else")

    code = tried(rows, one)
    with open(log, encoding="utf-8") as file:
        check(" no-thread " in file.read(), "no thread was wanted, nothing was tested")
    return code


@on_disk("-I", "128")
def seconds(binaries, disk, scratch):
    """On a disk that counts whole seconds no save waits for the next one, no file is left behind
    and no edit in the same second is lost: the tests of that, run there."""
    environment = {**os.environ, "HOME": scratch, "TMPDIR": disk.path, "QT_QPA_PLATFORM": "offscreen"}
    os.makedirs(scratch)
    for program, tests in (("files_test", "SweepTest.*"), ("vl2zip_test", "PackFaults.*DuringTheSave*"),
                           ("frmMainSaveTest", "*")):
        done = subprocess.run([os.path.join(binaries, program), "--gtest_filter=" + tests], check=False,
                              env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        check(done.returncode == 0 and "[  PASSED  ]" in done.stdout, program, done.stdout[-2000:])


if __name__ == "__main__":
    main(__doc__, {"save": save, "extract": extract, "clean-up": clean_up, "limits": limits,
                   "seconds": seconds})
