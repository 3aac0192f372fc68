"""Operates Orvel's real windows by keyboard."""

import os
import subprocess
import time

from sandbox import OWN_KEY
from screen import Missed

MAIN = r"^Orvel v[0-9]+\.[0-9]+\.[0-9]+$"
SETTINGS = r"^Orvel Settings$"
BOX = r"^Orvel$"


class Job:
    """One run of the program. Each method is one user action, and returns when its result is
    visible on the screen or on the disk."""

    def __init__(self, screen, sandbox, scale=1):
        self.screen, self.sandbox, self.scale = screen, sandbox, scale
        self.process = self.window = None
        self.number = 0

    def picture(self, name, window=None):
        """Saves the next screenshot of the run."""
        self.number += 1
        self.screen.picture(f"{self.number:02}-{name}", window)

    # Start and exit.

    def start(self):
        environment = {**self.screen.environment, "QT_SCALE_FACTOR": str(self.scale)}
        log = open(self.sandbox.folder / "orvel.log", "ab")  # for messages of the program
        self.process = subprocess.Popen(
            [str(self.sandbox.programs / "orvel")],
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=log,
            stderr=log,
        )
        log.close()

    def see_no_game_message(self):
        self.start()
        box = self.screen.window(BOX)
        self.screen.settle()
        self.picture("no-game", box)
        self.screen.key("Return")
        self.ended("exit after the message", expected=1)
        help_text = (self.sandbox.folder / "orvel.log").read_text(errors="replace")
        if "orvel-reg add 'SOFTWARE" not in help_text:
            raise Missed(f"no help for the terminal: {help_text}")

    def see_splash(self):
        self.start()
        size = (round(398 * self.scale), round(248 * self.scale))

        def splash():
            windows = self.screen.windows_of(self.process.pid)
            return next((window for window, seen in windows.items() if seen == size), None)

        window = self.screen.wait(f"splash window of {size}", splash, 20)
        self.picture("splash", window)
        self.window = self.screen.window(MAIN)
        if splash():
            self.screen.wait("end of the splash window", lambda: not splash(), 5)
        self.screen.settle()
        self.picture("main", self.window)

    def ended(self, what, expected=0):
        self.screen.wait(what, lambda: self.process.poll() is not None, 20)
        if self.process.returncode != expected:
            log = (self.sandbox.folder / "orvel.log").read_text(errors="replace")
            raise Missed(f"the program exited with {self.process.returncode}; its output: {log}")

    def close(self):
        if self.screen.close():
            self.ended("exit of the program")

    def stop(self):
        """Kills the program if it is still running."""
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    # The main window. The drop-down has the focus at first, and after Extract the tree.

    def pick(self, shown):
        """Selects an archive in the drop-down by its shown name."""
        before = self.screen.settle()
        self.screen.key("alt+Down")
        self.screen.wait("list of archives", lambda: self.screen.grab() != before)
        self.screen.settle()
        self.picture("drop-down", self.window)
        self.screen.type(shown)
        self.screen.key("Return")
        self.screen.wait("listing", lambda: self.screen.settle() != before)
        self.picture("listed", self.window)

    def work_folder(self, shown):
        return self.sandbox.work_folders() / shown

    def extract(self, shown, snapshot):
        """Presses Extract and waits until each file is complete in the work folder."""
        self.screen.key("alt+e")
        folder = self.work_folder(shown)

        def complete():
            for name, path in snapshot.names_on_disk().items():
                file = folder / path
                if not file.is_file() or file.read_bytes() != snapshot.contents[name][0]:
                    return False
            return True

        self.screen.wait(f"complete files of {shown} in {folder}", complete)
        self.screen.settle()
        self.picture("extracted", self.window)

    def select(self, name):
        """Selects a file in the tree by typing its name."""
        time.sleep(1)  # letters within a second continue the previous name
        self.screen.type(name)
        self.screen.settle()

    def select_first_in(self, folder):
        """Opens a folder and selects its first file. For names with letters that are on no key:
        these are typed slowly, and under load the tree starts a new name with a late letter."""
        self.select(folder)
        self.screen.key("Right", "Down")
        self.screen.settle()

    def edit(self, shown, path, keys, name):
        """Opens the selected file in its editor and waits until it is changed."""
        self.picture(name, self.window)
        count = len(self.sandbox.edited_files())
        self.screen.key(*keys)
        files = self.screen.wait("change by the editor", lambda: self.sandbox.edited_files()[count:])
        expected = self.work_folder(shown) / path
        if files != [expected]:
            raise Missed(f"the editor opened {files}, not {expected}")
        return expected.read_bytes()

    def gone(self, shown):
        """Waits until the work folder contains no files; empty folders may remain."""
        folder = self.work_folder(shown)

        def empty():
            # os.walk skips a folder that is removed during the walk.
            return not any(files for _, _, files in os.walk(folder))

        self.screen.wait(f"empty folder {folder}", empty)
        self.screen.settle()

    def save(self, shown, archive):
        """Saves, and waits until the archive is replaced and the work folder is empty."""
        before = archive.stat()
        self.press_save_changes()

        def replaced():
            now = archive.stat()
            return (now.st_ino, now.st_mtime_ns) != (before.st_ino, before.st_mtime_ns)

        self.screen.wait(f"new {archive.name}", replaced)
        self.gone(shown)
        self.picture("saved", self.window)

    def press_save_changes(self):
        """Moves the focus from the tree back past Cancel, since Settings has the same letter."""
        self.screen.key("shift+Tab", "shift+Tab", "space")

    def cancel(self, shown):
        self.screen.key("alt+c")
        self.gone(shown)
        self.picture("cancelled", self.window)

    def see_changes(self):
        """Leaves the tree for the settings and returns, which marks the changed files."""
        before = self.screen.settle()
        self.screen.key("Tab", "Tab", "Tab", "space")
        self.screen.window(SETTINGS)
        self.screen.key("Escape")
        self.screen.wait("end of the settings window", lambda: not self.screen.find(SETTINGS))
        self.screen.window(MAIN)
        self.screen.key("shift+Tab", "shift+Tab", "shift+Tab")
        self.screen.wait("marks of the changed files", lambda: self.screen.settle() != before)
        time.sleep(1)
        self.picture("changed", self.window)

    def see_settings(self):
        """Opens the settings window and closes it without a change."""
        self.screen.key("alt+s")
        window = self.screen.window(SETTINGS)
        self.screen.settle()
        self.picture("settings", window)
        self.screen.key("Escape")
        self.screen.wait("end of the settings window", lambda: not self.screen.find(SETTINGS))
        self.screen.window(MAIN)
