"""A virtual display with a window manager, keyboard input and screenshots."""

import os
import re
import select
import subprocess
import time
from pathlib import Path


class Missed(Exception):
    """An expected event did not happen in time."""


class Screen:
    """A context manager for a separate X server with a window manager.

    `environment` is for programs on this display; `pictures` is the folder for screenshots.
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
        # Without -noreset the server resets after its last client disconnects. The first query for
        # a window manager would then disconnect a manager that connects at that moment.
        server = ["Xvfb", "-noreset", "-nolisten", "tcp", "-displayfd", str(writable)]
        self._start([*server, "-screen", "0", f"{self.size}x24"], pass_fds=[writable])
        os.close(writable)
        with os.fdopen(readable) as answer:
            if not select.select([answer], [], [], 30)[0] or not (number := answer.readline()):
                self.__exit__()
                raise Missed("the virtual display did not start")
        self.environment["DISPLAY"] = ":" + number.strip()
        if self.manager is None:
            return self
        self._start([self.manager, "--sm-disable"])
        try:
            self.wait("window manager", self._has_window_manager)
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
        return "window id" in self._run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")

    def _run(self, *command):
        """The output of a command; empty if it fails."""
        answer = subprocess.run(
            command, env=self.environment, capture_output=True, text=True, timeout=30, check=False
        )
        return answer.stdout if answer.returncode == 0 else ""

    def wait(self, what, condition, seconds=30):
        """Returns the condition's value when it is true; takes a screenshot after a timeout."""
        end = time.monotonic() + seconds
        while not (value := condition()):
            if time.monotonic() > end:
                path = self.picture("failure") if "DISPLAY" in self.environment else "none"
                raise Missed(f"timeout after {seconds} s: {what}; screenshot: {path}")
            time.sleep(0.03)
        return value

    def find(self, title, process=None):
        """The visible window whose title matches a pattern, or None."""
        options = ["--all", "--pid", str(process)] if process else []
        found = self._run("xdotool", "search", "--onlyvisible", *options, "--name", title).split()
        return found[0] if found else None

    def window(self, title, seconds=30):
        """Waits until the window with this title is active."""
        window = self.wait(f"window {title}", lambda: self.find(title), seconds)
        self.wait(
            f"keyboard focus in {title}",
            lambda: self._run("xdotool", "getactivewindow").strip() == window,
            seconds,
        )
        return window

    def windows_of(self, process):
        """The visible windows of a process, by id, with their (width, height)."""
        sizes = {}
        shown = self._run("xdotool", "search", "--onlyvisible", "--all", "--pid", str(process), "")
        for window in shown.split():
            geometry = self._run("xdotool", "getwindowgeometry", "--shell", window)
            numbers = dict(re.findall(r"(WIDTH|HEIGHT)=(\d+)", geometry))
            if len(numbers) == 2:
                sizes[window] = (int(numbers["WIDTH"]), int(numbers["HEIGHT"]))
        return sizes

    def key(self, *keys):
        """Presses keys, one after the other, in the active window."""
        subprocess.run(
            ["xdotool", "key", "--delay", "40", *keys], env=self.environment, check=True
        )

    def close(self):
        """Closes the active window. Returns whether there is a key for it."""
        self.key("alt+F4")
        return True

    def type(self, text):
        """Types a text quickly, letter by letter."""
        # xdotool maps other characters to a key for a moment, in which the program must read it.
        delay = "25" if text.isascii() else "120"
        subprocess.run(
            ["xdotool", "type", "--delay", delay, text], env=self.environment, check=True
        )

    def pointer(self):
        """The position of the mouse pointer."""
        return self._run("xdotool", "getmouselocation").split(" window")[0]

    def grab(self):
        """A screenshot as bytes, for comparison."""
        command = ["import", "-silent", "-window", "root", "ppm:-"]
        return subprocess.run(
            command, env=self.environment, capture_output=True, check=True
        ).stdout

    def settle(self, seconds=30):
        """Waits until the screen stops changing. Returns a screenshot as bytes."""
        end = time.monotonic() + seconds
        shown = self.grab()
        while time.monotonic() < end:
            time.sleep(0.2)
            before, shown = shown, self.grab()
            if shown == before:
                return shown
        raise Missed(f"the screen did not stop changing; screenshot: {self.picture('failure')}")

    def picture(self, name, window=None):
        """Saves a screenshot of a window with its frame, or of the whole screen."""
        target = self.pictures / f"{name}.png"
        crop = []
        if window:
            width, height, left, top = self._geometry_with_frame(window)
            crop = ["-crop", f"{width}x{height}{left:+d}{top:+d}", "+repage"]
        subprocess.run(
            ["import", "-silent", "-window", "root", *crop, str(target)],
            env=self.environment,
            check=True,
        )
        return target

    def _geometry_with_frame(self, window):
        """Width, height, left and top of a window with the window manager's frame."""
        about = self._run("xwininfo", "-id", window)
        width, height, left, top = (
            int(re.search(label + r":\s+(-?\d+)", about)[1])
            for label in ("Width", "Height", "Absolute upper-left X", "Absolute upper-left Y")
        )
        extents = self._run("xprop", "-id", window, "_NET_FRAME_EXTENTS")
        frame = [int(number) for number in re.findall(r"\d+", extents.partition("=")[2])]
        if len(frame) == 4:
            width, height = width + frame[0] + frame[1], height + frame[2] + frame[3]
            left, top = left - frame[0], top - frame[2]
        return width, height, left, top
