#!/usr/bin/env python3
"""The program for Windows, under Wine, and the one for this system work on one NTFS disk in turn.

The environment variable ORVEL_NATIVE_BINARIES names the folder with this system's programs."""

import contextlib
import copy
import os
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "disks"))

# pylint: disable=wrong-import-position
from disks import DISKS, NotMade
from job import ENTRIES, EDITS, SKIPPED, Job, archive_content, check, main, not_made, read_tree, write_files

NEWER = {"readme.txt": b"read me, too\r\n"}


class WineJob(Job):
    """The same folders, with the program for Windows."""

    @staticmethod
    def beside(job, binaries, prefix):
        other = copy.copy(job)
        other.__class__ = WineJob
        other.binaries = binaries
        other.env = dict(job.env, WINEPREFIX=prefix, WINEDEBUG="-all", HOME=os.environ["HOME"])
        other.register_folders()
        return other

    def start(self, program, *arguments, **options):
        return subprocess.Popen(["wine", os.path.join(self.binaries, program + ".exe"), *arguments],
                                env=self.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, **options)

    def register(self, key, name, text, **options):
        return super().register(key, name, "Z:" + text.replace("/", "\\"), **options)


def in_turn(first, second, newer):
    """Extracts with the first program and saves with the second. Returns the archive's bytes."""
    where = "%s, then %s:" % (type(first).__name__, type(second).__name__)
    first.make_archive(ENTRIES)
    first.steps("extract")
    write_files(first.work, EDITS)
    for name in EDITS:
        os.utime(os.path.join(first.work, name), (1_000_000_000, 1_000_000_000))
    if newer:
        first.make_archive({**ENTRIES, **newer})
    said = second.steps("ready", "save").stdout
    check("state: extracted" in said, where, "the work was not found:", said)
    check("was created successfully" in said, where, "not saved:", said)
    check(archive_content(first.archive) == {**ENTRIES, **newer, **EDITS}, where, "the archive holds something else")
    first.nothing_left(where)
    check(not read_tree(first.work), where, "files stay in the work folder:", said)
    return first.bytes_of_archive()


def turns(binaries, scratch):
    """What one system extracted the other one saves: the same bytes as by itself, and no newer entry
    is set back."""
    native = os.environ["ORVEL_NATIVE_BINARIES"]
    if not os.access(os.path.join(native, "jobDriver"), os.X_OK):
        print("needs the programs of this system in", native)
        return SKIPPED
    missing = []
    with contextlib.ExitStack() as disk:
        try:
            place = disk.enter_context(DISKS["ntfs-3g"][0](scratch))
        except NotMade as why:
            missing.append("NTFS disk (%s)" % why)
            place = scratch
        here = Job(native, os.path.join(scratch, "job"), game=os.path.join(place, "game"),
                   temp=os.path.join(place, "temp"))
        there = WineJob.beside(here, binaries, os.environ["WINEPREFIX"])
        for newer in ({}, NEWER):
            saved = {in_turn(first, second, newer) for first in (here, there) for second in (here, there)}
            check(len(saved) == 1, "the archives differ:", len(saved), "versions")
    print("4 pairs, with and without a newer entry")
    return not_made(missing)


if __name__ == "__main__":
    main({"turns": turns})
