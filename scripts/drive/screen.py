"""A virtual screen with a window manager, and what a person at a keyboard can do there."""

import os
import re
import select
import subprocess
import time
from pathlib import Path


class Missed(Exception):
    """Something that had to happen did not happen in time."""


class Screen:
    """An X server of its own with a window manager, from `with` to the end of its block.

    `environment` is what programs started there get; `pictures` is where pictures go.
    """

    def __init__(self, environment, pictures, size="1024x768", manager="openbox"):
        self.environment = dict(environment)
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.environment["QT_QPA_PLATFORM"] = "xcb"
        self.pictures = Path(pictures)
        self.size, self.manager = size, manager
        self.processes = []

    def __enter__(self):
        self.pictures.mkdir(parents=True, exist_ok=True)
        readable, writable = os.pipe()
        # The server starts over when its last client leaves, unless told not to: the first question
        # whether there is a manager would throw out a manager that connects at that moment.
        server = ["Xvfb", "-noreset", "-nolisten", "tcp", "-displayfd", str(writable)]
        self._start([*server, "-screen", "0", f"{self.size}x24"], pass_fds=[writable])
        os.close(writable)
        with os.fdopen(readable) as answer:
            if not select.select([answer], [], [], 30)[0] or not (number := answer.readline()):
                self.__exit__()
                raise Missed("the virtual screen did not start")
        self.environment["DISPLAY"] = ":" + number.strip()
        if self.manager is None:
            return self
        self._start([self.manager, "--sm-disable"])
        try:
            self.wait("the window manager", self._has_window_manager)
        except Missed:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self.processes = []

    def _start(self, command, **options):
        self.processes.append(
            subprocess.Popen(
                command,
                env=self.environment,
                stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL,
                **options,
            )
        )

    def _has_window_manager(self):
        return "window id" in self._ask("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")

    def _ask(self, *command):
        """What a command prints; nothing where it fails."""
        answer = subprocess.run(
            command, env=self.environment, capture_output=True, text=True, timeout=30, check=False
        )
        return answer.stdout if answer.returncode == 0 else ""

    def wait(self, what, condition, seconds=30):
        """Returns the condition's value as soon as it is true; takes a picture where it never is."""
        end = time.monotonic() + seconds
        while not (value := condition()):
            if time.monotonic() > end:
                where = self.picture("failure") if "DISPLAY" in self.environment else "none"
                raise Missed(f"{what} did not come within {seconds} s; picture: {where}")
            time.sleep(0.03)
        return value

    def find(self, title, process=None):
        """The visible window whose title matches a pattern, or None."""
        options = ["--all", "--pid", str(process)] if process else []
        found = self._ask("xdotool", "search", "--onlyvisible", *options, "--name", title).split()
        return found[0] if found else None

    def window(self, title, seconds=30):
        """Waits for a window by its title and for the keyboard to be in it."""
        window = self.wait(f"the window {title}", lambda: self.find(title), seconds)
        self.wait(
            f"the keyboard in {title}",
            lambda: self._ask("xdotool", "getactivewindow").strip() == window,
            seconds,
        )
        return window

    def windows_of(self, process):
        """The visible windows of a process, by id, with their (width, height)."""
        sizes = {}
        shown = self._ask("xdotool", "search", "--onlyvisible", "--all", "--pid", str(process), "")
        for window in shown.split():
            geometry = self._ask("xdotool", "getwindowgeometry", "--shell", window)
            numbers = dict(re.findall(r"(WIDTH|HEIGHT)=(\d+)", geometry))
            if len(numbers) == 2:
                sizes[window] = (int(numbers["WIDTH"]), int(numbers["HEIGHT"]))
        return sizes

    def key(self, *keys):
        """Presses keys, one after the other, in whatever window has the keyboard."""
        subprocess.run(
            ["xdotool", "key", "--delay", "40", *keys], env=self.environment, check=True
        )

    def type(self, text):
        """Types a text as one would: quickly, letter by letter."""
        # What is on no key gets one for a moment, which the program must have read by then.
        delay = "25" if text.isascii() else "120"
        subprocess.run(
            ["xdotool", "type", "--delay", delay, text], env=self.environment, check=True
        )

    def pointer(self):
        """Where the mouse pointer is."""
        return self._ask("xdotool", "getmouselocation").split(" window")[0]

    def grab(self):
        """All that the screen shows, as bytes that can be compared."""
        command = ["import", "-silent", "-window", "root", "ppm:-"]
        return subprocess.run(
            command, env=self.environment, capture_output=True, check=True
        ).stdout

    def settle(self, seconds=30):
        """Waits until the screen shows the same for a while; returns what it shows."""
        end = time.monotonic() + seconds
        shown = self.grab()
        while time.monotonic() < end:
            time.sleep(0.2)
            before, shown = shown, self.grab()
            if shown == before:
                return shown
        raise Missed(f"the screen was never still; picture: {self.picture('failure')}")

    def picture(self, name, window=None):
        """Keeps a picture of a window with its frame, or of the whole screen."""
        target = self.pictures / f"{name}.png"
        crop = []
        if window:
            width, height, left, top = self._place_with_frame(window)
            crop = ["-crop", f"{width}x{height}{left:+d}{top:+d}", "+repage"]
        subprocess.run(
            ["import", "-silent", "-window", "root", *crop, str(target)],
            env=self.environment,
            check=True,
        )
        return target

    def _place_with_frame(self, window):
        """Width, height, left and top of a window with what the window manager drew around it."""
        about = self._ask("xwininfo", "-id", window)
        width, height, left, top = (
            int(re.search(label + r":\s+(-?\d+)", about)[1])
            for label in ("Width", "Height", "Absolute upper-left X", "Absolute upper-left Y")
        )
        extents = self._ask("xprop", "-id", window, "_NET_FRAME_EXTENTS")
        frame = [int(number) for number in re.findall(r"\d+", extents.partition("=")[2])]
        if len(frame) == 4:
            width, height = width + frame[0] + frame[1], height + frame[2] + frame[3]
            left, top = left - frame[0], top - frame[2]
        return width, height, left, top
