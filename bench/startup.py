#!/usr/bin/env python3
"""Compares Orvel's start-up time with that of an empty window of the same size and toolkit.

    startup.py --bin FOLDER --work FOLDER [--rounds N]

Both start alternately on a virtual display with a warm cache. The time is from the start of the
process until the X server maps the window, without the 800 ms of Orvel's splash screen. Prints the
medians and their ratio; fails if the ratio is above 1.5 or Orvel takes more than 150 ms.
"""

import argparse
import ctypes
import ctypes.util
import statistics
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "scripts" / "drive"))
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402

SPLASH_MS = 800
WIDTH, HEIGHT = 265, 473
MAPPED, SUBSTRUCTURE = 19, 1 << 19  # MapNotify, SubstructureNotifyMask
RATIO, LIMIT_MS = 1.5, 150


class MapEvent(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int),
        ("serial", ctypes.c_ulong),
        ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p),
        ("event", ctypes.c_ulong),
        ("window", ctypes.c_ulong),
        ("rest", ctypes.c_long * 24),
    ]


class Windows:
    """Waits for windows on a display without a window manager."""

    def __init__(self, display):
        self.x = ctypes.CDLL(ctypes.util.find_library("X11"))
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(display.encode()))
        root = self.x.XDefaultRootWindow(self.display)
        self.x.XSelectInput(self.display, ctypes.c_ulong(root), ctypes.c_long(SUBSTRUCTURE))
        self.x.XSync(self.display, 0)
        # A window may be destroyed before its geometry is read.
        self.ignore = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)(
            lambda *_: 0
        )
        self.x.XSetErrorHandler(self.ignore)

    def wait_for(self, size):
        """Returns the time at which a window of this size is mapped."""
        event = MapEvent()
        while True:
            self.x.XNextEvent(self.display, ctypes.byref(event))
            moment = time.perf_counter()
            if event.type == MAPPED and self.size(event.window) == size:
                return moment

    def size(self, window):
        root = ctypes.c_ulong()
        numbers = [ctypes.c_uint() for _ in range(6)]
        self.x.XGetGeometry(
            self.display, ctypes.c_ulong(window), ctypes.byref(root), *map(ctypes.byref, numbers)
        )
        return numbers[2].value, numbers[3].value


def time_of(windows, program, environment):
    """Milliseconds from the start of a program until its window is mapped."""
    start = time.perf_counter()
    process = subprocess.Popen([str(program)], env=environment, stderr=subprocess.DEVNULL)
    shown = windows.wait_for((WIDTH, HEIGHT))
    process.kill()
    process.wait()
    return (shown - start) * 1000


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", type=Path, required=True)
    parser.add_argument("--work", type=Path, required=True)
    parser.add_argument("--rounds", type=int, default=15)
    options = parser.parse_args()
    sandbox = Sandbox(options.work / "startup", options.bin)
    sandbox.install_game()
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    ours, empty = [], []
    with Screen(sandbox.environment, sandbox.folder, manager=None) as screen:
        windows = Windows(screen.environment["DISPLAY"])
        for number in range(options.rounds + 1):
            pair = [
                time_of(windows, sandbox.programs / program, screen.environment)
                for program in ("orvel", "emptyWindow")
            ]
            if number > 0:  # the first run fills the cache
                ours.append(pair[0] - SPLASH_MS)
                empty.append(pair[1])
    mine, theirs = statistics.median(ours), statistics.median(empty)
    print(f"Start-up, medians of {options.rounds}: Orvel {mine:.0f} ms without the splash screen's")
    print(f"{SPLASH_MS} ms, an empty window {theirs:.0f} ms: ratio {mine / theirs:.2f}")
    print(f"Range: Orvel {min(ours):.0f}-{max(ours):.0f}, empty {min(empty):.0f}-{max(empty):.0f}")
    return 0 if mine <= LIMIT_MS and mine <= RATIO * theirs else 1


sys.exit(main())
