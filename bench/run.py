#!/usr/bin/env python3
"""Compares Orvel with the other tools that a modder may use.

    run.py --bin FOLDER --work FOLDER [--rounds N] [--write docs/performance.md] [--large] [--quick]
           [--only PART ...]

Prints a table of ratios, each from one run on this machine. --write also writes it to a file, and
keeps of that file the range of each ratio over earlier runs and the hand-written part, from its
heading "Limits" on. --large adds one entry of 5 GiB, which takes some minutes and 16 GB of disk, and
the archivers of other desktops. --quick checks that everything works: three rounds, at most 10,000
entries. --only measures some parts:
listing, extraction, saving, window, scripts, growth, clean, buttons, copies (extraction and save
compared with copies of the files, for other disks than the usual).
"""

import argparse
import datetime
import os
import platform
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from commands import Commands  # noqa: E402
from environment import Environment  # noqa: E402
from game import CHANGED, Game  # noqa: E402
import memory  # noqa: E402
from growth import Cycles, Growth, memory_of_game, memory_of_large  # noqa: E402
from opening import opening  # noqa: E402
from rows import Figures  # noqa: E402
from startup import starting  # noqa: E402
from window import looking, picking, pressing, start_window  # noqa: E402

PARTS = ("listing", "extraction", "saving", "window", "scripts", "growth", "clean", "buttons", "copies")


def machine(environment):
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = next((line.split(":")[1].strip() for line in file if line.startswith("model name")),
                     platform.machine())
    return "%d x %s, Linux %s, %s" % (os.cpu_count(), model, platform.release().split("-")[0],
                                      environment.file_system())


def measure(environment, figures, options):
    """Measurements that delete files come last: see paired.py."""
    game = Game(environment, figures)
    parts = options.only or (PARTS[:-1] if options.write else PARTS)
    cycles = Cycles(environment, figures)
    growth = None
    if "listing" in parts:
        game.listing()
    if "window" in parts:
        starting(environment, figures)
        picking(environment, figures, game.many)
        looking(environment, figures, game.archive, CHANGED)
        if options.large:
            sandbox = start_window(environment, game.many)
            opening(environment, figures, sandbox, sandbox.folder / "Tribes2/GameData/base/many.vl2")
    if "extraction" in parts:
        game.extraction()
    if "saving" in parts:
        game.saving_one()
        game.saving_every()
        game.saving_nothing()
    if "scripts" in parts:
        Commands(environment, figures, game).run()
    if "copies" in parts:
        game.against_copies()
    if "growth" in parts:
        memory_of_game(cycles, game.archive)
        if options.large:
            memory_of_large(cycles, environment)
        counts = (1_000, 10_000) if options.quick else (1_000, 10_000, 100_000, 500_000)
        growth = Growth(cycles, environment, figures, counts)
        growth.run()
    if "clean" in parts:
        game.clean_up()
    if growth:
        cycles.clean_up()
        growth.report()
    if "buttons" in parts:
        pressing(environment, figures, game)


def read_page(path):
    """What is written in it already, and its part that is written by hand."""
    try:
        with open(path or "", encoding="utf-8") as file:
            measured, heading, rest = file.read().partition("\n## Limits")
    except FileNotFoundError:
        return "", ""
    return measured, heading + rest


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--write")
    parser.add_argument("--large", action="store_true")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--only", nargs="+", choices=PARTS)
    options = parser.parse_args()
    environment = Environment(options.bin, options.work, 3 if options.quick else options.rounds)
    measured, by_hand = read_page(options.write)
    figures = Figures(environment, measured)
    held = memory.hold()
    try:
        measure(environment, figures, options)
        text = figures.text(machine(environment), datetime.date.today().isoformat(), options.large)
        print(text)
        if options.write:
            with open(options.write, "w", encoding="utf-8") as file:
                file.write(text + by_hand)
    finally:
        held.close()
        environment.clear()
    for miss in figures.misses:
        print("target missed: " + miss, file=sys.stderr)
    sys.exit(1 if figures.misses else 0)


if __name__ == "__main__":
    main()
