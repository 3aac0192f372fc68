#!/usr/bin/env python3
"""Simulates a power cut before each of the program's file calls: the process is killed and the file
system shut down at once, which loses what was not synced. The exit code is 77 if this machine has no
such disk."""

import fcntl
import os
import struct
import subprocess

from faults import interrupted_saves
from job import ENTRIES, Job, check, main, not_made, read_tree

SHUT_DOWN = 0x8004587D
# If the journal is written to its end, names exist whose data was not written; otherwise all since the
# last sync is lost.
WITH_JOURNAL, WITHOUT_JOURNAL = 1, 2


class Disk:
    """A small ext4 disk in a file, mounted; made with these options."""

    def __init__(self, scratch, *options):
        os.makedirs(scratch, exist_ok=True)
        self.image, self.path = scratch + ".img", scratch
        try:
            with open(self.image, "wb") as file:
                file.truncate(96 << 20)
            self.command("mkfs.ext4", "-q", "-F", *options, self.image)
            self.command("mount", "-o", "loop", self.image, self.path)
        except (OSError, subprocess.CalledProcessError):
            os.remove(self.image)
            raise

    @staticmethod
    def command(*words):
        subprocess.run(words, check=True, stderr=subprocess.DEVNULL)

    def remove(self):
        try:
            self.command("umount", self.path)
        finally:
            os.remove(self.image)

    def sync(self):
        self.command("sync", "-f", self.path)

    def cut(self, how):
        """A power cut and a restart."""
        folder = os.open(self.path, os.O_RDONLY)
        try:
            fcntl.ioctl(folder, SHUT_DOWN, struct.pack("I", how))
        finally:
            os.close(folder)
        self.command("umount", self.path)
        self.command("mount", "-o", "loop", self.image, self.path)


def on_disk(*options):
    def decorate(test):
        def run(binaries, scratch):
            try:
                disk = Disk(scratch, *options)
            except (OSError, subprocess.CalledProcessError) as why:
                return not_made(["a disk of its own (%s)" % getattr(why, "cmd", [why])[0]])
            try:
                test(binaries, disk, os.path.join(disk.path, "job"))
            finally:
                disk.remove()
            return 0
        return run
    return decorate


@on_disk()
def save(binaries, disk, scratch):
    for how in (WITH_JOURNAL, WITHOUT_JOURNAL):
        interrupted_saves(binaries, scratch, before=disk.sync, after=lambda how=how: disk.cut(how))


def cut_extraction(binaries, disk, scratch, lacks=None):
    job = Job(binaries, scratch, lacks=lacks)
    job.freeze()
    calls = [*job.calls_of("extract"), ("end", "")]
    cut_off = 0
    for number, where in job.points(calls):
        disk.sync()
        job.steps("extract", watch={"kill": number}, must=False)
        disk.cut(WITH_JOURNAL)
        cut_off += sum(content != ENTRIES.get(name) for name, content in read_tree(job.work).items())
        done = job.extract_again(where, whole=False)
        check("error:" in done or not read_tree(job.work), where, "files stay unreported:", done)
    print("%d points, %d files cut off" % (len(calls), cut_off))
    return cut_off


@on_disk()
def extract(*where):
    """Files that were cut off, since they were not synced, do not replace their entries."""
    check(cut_extraction(*where) > len(ENTRIES), "no file was ever cut off, nothing was tested")


@on_disk()
def extract_timeless(*where):
    """On a disk that loses the times by which cut files are recognised, no file is cut off."""
    check(cut_extraction(*where, lacks=" times ") == 0, "a file was cut off")


if __name__ == "__main__":
    main({"save": save, "extract": extract, "extract-timeless": extract_timeless})
