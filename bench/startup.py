#!/usr/bin/env python3
"""Times a program from its start until the X server maps a window of the main window's size.

    startup.py PROGRAM

Runs on the display of the environment, which must have no window manager. Prints the milliseconds.
"""

import ctypes
import ctypes.util
import json
import os
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "scripts" / "drive"))
from environment import on_screen  # noqa: E402
from paired import Candidate, run_paired  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402

SPLASH_MS = 800
WIDTH, HEIGHT = 265, 473
MAPPED, SUBSTRUCTURE = 19, 1 << 19  # MapNotify, SubstructureNotifyMask
ROUNDS = 15


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


def measure(program):
    windows = Windows(os.environ["DISPLAY"])
    start = time.perf_counter()
    process = subprocess.Popen([program], stderr=subprocess.DEVNULL)
    shown = windows.wait_for((WIDTH, HEIGHT))
    process.kill()
    process.wait()
    print(json.dumps({"code": 0, "ms": (shown - start) * 1000}))


def starting(environment, figures):
    """The start without the time of the splash screen, beside an empty window of the same toolkit."""
    sandbox = Sandbox(environment.new_path(), environment.programs)
    sandbox.install_game()
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    with Screen(sandbox.environment, sandbox.folder, manager=None) as screen:
        def candidate(name, program, known):
            words = [*on_screen(screen), sys.executable, __file__,
                     os.path.join(environment.programs, program)]
            return Candidate(name, lambda f: words,
                             time_of=lambda spent, report: report["ms"] - known)

        ours = candidate("Orvel", "orvel", SPLASH_MS)
        empty = candidate("empty window", "emptyWindow", 0)
        run_paired([ours, empty], environment.new_path(), ROUNDS)
    ours.command, empty.command = lambda f: ["orvel"], lambda f: ["emptyWindow"]
    figures.share("start to a usable window, without the 800 ms of the splash screen", ours, empty,
                  1.2)


if __name__ == "__main__":
    measure(sys.argv[1])
