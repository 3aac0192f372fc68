#!/usr/bin/env python3
"""Takes the power from a disk in front of each of the program's file calls: the process is killed
and the file system shut down at once, with what was not synced lost.

    powercut.py save | extract BINARIES SCRATCH

Ends with 0 where every point held, with 77 where this machine has no such disk; says how many points
were tried.
"""

import fcntl
import os
import struct
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from job import ENTRIES, SKIPPED, Job, archive_content, check, main, read_tree  # noqa: E402

SHUT_DOWN = 0x8004587D
# With the journal written to the end, names are there whose data is not; without, all since the last
# sync is gone.
WITH_JOURNAL, WITHOUT_JOURNAL = 1, 2


class Disk:
    """A small ext4 disk in a file, mounted."""

    def __init__(self, scratch):
        os.makedirs(scratch, exist_ok=True)
        self.image, self.path = scratch + ".img", scratch
        with open(self.image, "wb") as file:
            file.truncate(96 << 20)
        self.command("mkfs.ext4", "-q", "-F", self.image)
        self.command("mount", "-o", "loop", self.image, self.path)

    @staticmethod
    def command(*words):
        subprocess.run(words, check=True, stderr=subprocess.DEVNULL)

    def remove(self):
        self.command("umount", self.path)
        os.remove(self.image)

    def cut(self, how):
        """The power goes, and comes back."""
        folder = os.open(self.path, os.O_RDONLY)
        try:
            fcntl.ioctl(folder, SHUT_DOWN, struct.pack("I", how))
        finally:
            os.close(folder)
        self.command("umount", self.path)
        self.command("mount", "-o", "loop", self.image, self.path)


def on_disk(test):
    def run(binaries, scratch):
        try:
            disk = Disk(scratch)
        except (OSError, subprocess.CalledProcessError) as why:
            print("no such disk:", why)
            return SKIPPED
        try:
            return test(binaries, disk)
        finally:
            disk.remove()
    return run


@on_disk
def save(binaries, disk):
    job = Job(binaries, os.path.join(disk.path, "job"))
    job.extract_and_edit()
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("save", watch=watch))
    new = 0
    for number in range(1, len(calls) + 2):
        for how in (WITH_JOURNAL, WITHOUT_JOURNAL):
            where = "power cut %d at call %d of %d:" % (how, number, len(calls))
            job.reset()
            Disk.command("sync", "-f", disk.path)
            job.steps("save", watch={"folder": job.live, "kill": number}, must=False)
            disk.cut(how)
            packed = archive_content(job.archive)
            check(packed in (ENTRIES, job.wanted), where, "neither the old archive nor the new one")
            new += packed == job.wanted
            job.edits_are_somewhere(where)
            job.save_again(where)
    check(new > 3, "the new archive was never there:", new)
    print("%d points, two kinds each" % (len(calls) + 1))
    return 0


@on_disk
def extract(binaries, disk):
    """Files that were not on the disk yet do not get into the archive as what is left of them."""
    job = Job(binaries, os.path.join(disk.path, "job"))
    job.freeze()
    calls = job.calls_of(job.live, lambda watch: job.steps("extract", watch=watch))
    cut_off = 0
    for number in range(1, len(calls) + 2):
        where = "power cut at call %d of %d:" % (number, len(calls))
        job.reset()
        Disk.command("sync", "-f", disk.path)
        job.steps("extract", watch={"folder": job.live, "kill": number}, must=False)
        disk.cut(WITH_JOURNAL)
        found = read_tree(job.work) if os.path.isdir(job.work) else {}
        cut_off += sum(content != ENTRIES.get(name) for name, content in found.items())
        if not job.is_extracted():
            job.steps("extract")
        done = job.steps("save").stdout
        check(archive_content(job.archive) == ENTRIES, where, "the archive changed:", done)
        check("error:" in done or not read_tree(job.work), where, "files stay unsaid:", done)
        check(not job.temporaries(), where, "left behind", job.temporaries())
    check(cut_off > len(ENTRIES), "no file was ever cut off, nothing was tested")
    print("%d points, %d files cut off" % (len(calls) + 1, cut_off))
    return 0


if __name__ == "__main__":
    main(__doc__, {"save": save, "extract": extract})
