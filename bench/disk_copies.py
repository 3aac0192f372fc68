#!/usr/bin/env python3
"""Compares an extraction and a save with copies of the same files on disks of tests/disks/disks.py.

usage: disk_copies.py BINARIES ARCHIVE SHARE ROUNDS SCRATCH [--list-missing FILE] DISK...
  BINARIES        contains vl2bench
  ARCHIVE         is created if it is missing: the game-like archive with its files divided by SHARE
  --list-missing  writes the disks that this machine could not make to FILE

Prints a row of a table for each disk, with the ratios of the medians and the range of the rounds' ratios:
extraction by cp -r, save by cp and sync of the archive, save by the same and a read of all files.
"""

import os
import shutil
import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parent), str(Path(__file__).resolve().parent.parent / "tests/disks")]

# pylint: disable=wrong-import-position
import make_archive
import memory
from disks import DISKS, NotMade
from environment import Environment
from game import Game
from rows import Figures

MEGABYTES = 4800  # of a disk for the whole archive; a virtual machine holds a third in memory


def ratios(ours, peer):
    each = [mine / its for mine, its in zip(ours.times, peer.times)]
    return "%.2f (%.2f to %.2f)" % (ours.median() / peer.median(), min(each), max(each))


def measure(binaries, archive, rounds, path):
    environment = Environment(binaries, os.path.join(path, "bench"), rounds)
    environment.cached("game.vl2", lambda target: shutil.copyfile(archive, target))
    extraction, files, save, archive, both = Game(environment, Figures(environment)).against_copies()
    return ratios(extraction, files), ratios(save, archive), ratios(save, both)


def main():
    binaries, archive, share, rounds, scratch, *names = sys.argv[1:]
    list_missing = names[1] if names[:1] == ["--list-missing"] else None
    if list_missing:
        names = names[2:]
    for name in names:
        if name not in DISKS:
            sys.exit("no such disk: %s; there are: %s" % (name, "; ".join(DISKS)))
    if not os.path.exists(archive):
        make_archive.make_game(archive, int(share))
    missing = {}
    held = memory.hold(8 << 30)
    for name in names or DISKS:
        try:
            with DISKS[name][0](os.path.abspath(scratch), MEGABYTES // int(share)) as path:
                print("| %s | %s |" % (name, " | ".join(measure(binaries, archive, int(rounds), path))), flush=True)
        except NotMade as why:
            missing[name] = str(why)
        shutil.rmtree(scratch, ignore_errors=True)
    held.close()
    if list_missing:
        Path(list_missing).write_text("".join(name + "\n" for name in missing), encoding="utf-8")
    for name, why in missing.items():
        print("%s: refused by this machine (%s)" % (name, why), file=sys.stderr)


if __name__ == "__main__":
    main()
