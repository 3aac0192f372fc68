"""A Wayland compositor on a virtual X server, with the methods of Screen."""

import os
import re
import tempfile
import time
from pathlib import Path

from screen import Screen

SWAY = """xwayland disable
output * bg #3a5a7a solid_color
output * mode --custom {size}
default_floating_border normal
focus_on_window_activation focus
bindsym Mod1+F4 kill
bindsym Mod4+Shift+m fullscreen toggle
bindsym Mod4+Tab focus mode_toggle
"""


class WaylandScreen(Screen):
    """A context manager for a compositor, "sway" or "weston", that fills a separate X server.

    Keys go through the X server. What the program shows is read from the log of its connection
    (WAYLAND_DEBUG), since no protocol tells it to others.
    """

    def __init__(self, environment, pictures, log, size, compositor):
        super().__init__(environment, pictures, size, manager=None)
        self.compositor, self.log = compositor, Path(log)
        self.runtime = tempfile.TemporaryDirectory(prefix="orvel-wayland-")

    def __enter__(self):
        super().__enter__()
        width, height = self.size.split("x")
        self.environment.update({"XDG_RUNTIME_DIR": self.runtime.name, "WLR_BACKENDS": "x11",
                                 "WLR_RENDERER": "pixman", "GDK_BACKEND": "wayland"})
        bus = f"unix:path={self.runtime.name}/bus"
        self._start(["dbus-daemon", "--session", "--nofork", f"--address={bus}"])
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus
        if self.compositor == "sway":
            config = Path(self.runtime.name) / "sway.conf"
            config.write_text(SWAY.format(size=self.size))
            self._start(["sway", "--config", str(config)])
        else:
            self._start(["weston", "--backend=x11-backend.so", "--use-pixman", "--no-config",
                         f"--width={width}", f"--height={height}"])
        socket = self.wait(f"start of {self.compositor}", self._socket)
        self.environment.update({"QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": socket,
                                 "WAYLAND_DEBUG": "1"})
        self.settle()
        return self

    def __exit__(self, *failure):
        super().__exit__(*failure)
        self.runtime.cleanup()

    def _socket(self):
        names = os.listdir(self.runtime.name)
        return next((name for name in names if re.fullmatch(r"wayland-\d+", name)), None)

    def _windows(self):
        """The windows of the program's last start: {id: [title, size]}, and the one with the
        keyboard focus."""
        surfaces, windows, focus = {}, {}, None
        text = self.log.read_text(errors="replace") if self.log.exists() else ""
        # The connection of a start; those for activation tokens bind no compositor.
        start = [found.start() for found in re.finditer(r'bind\(\d+, "wl_compositor"', text)]
        for line in text[start[-1] if start else 0:].splitlines():
            if found := re.search(r"get_xdg_surface\(new id xdg_surface@(\d+), wl_surface@(\d+)", line):
                surfaces[found[1]] = found[2]
            elif found := re.search(r"xdg_surface@(\d+)\.get_toplevel\(new id xdg_toplevel@(\d+)", line):
                windows[found[2]] = ["", None, found[1]]
            elif found := re.search(r"xdg_toplevel@(\d+)\.set_title\(\"(.*)\"\)", line):
                windows[found[1]][0] = found[2]
            elif found := re.search(r"xdg_surface@(\d+)\.set_window_geometry\(-?\d+, -?\d+, (\d+), (\d+)", line):
                for window in windows.values():
                    if window[2] == found[1]:
                        window[1] = (int(found[2]), int(found[3]))
            elif found := re.search(r"xdg_toplevel@(\d+)\.destroy\(", line):
                windows.pop(found[1], None)
            elif found := re.search(r"wl_keyboard@\d+\.enter\(\d+, wl_surface@(\d+)", line):
                focus = found[1]
            elif re.search(r"wl_keyboard@\d+\.leave\(", line):
                focus = None
        active = next((name for name, window in windows.items()
                       if surfaces.get(window[2]) == focus), None)
        return windows, active

    def find(self, title, process=None):
        windows, _ = self._windows()
        return next((name for name, window in windows.items() if re.search(title, window[0])), None)

    def window(self, title, seconds=30):
        def active():
            found = self.find(title)
            return found if found and self._windows()[1] == found else None

        return self.wait(f"keyboard focus in {title}", active, seconds)

    def windows_of(self, process):
        return {name: window[1] for name, window in self._windows()[0].items() if window[1]}

    def picture(self, name, window=None):
        """Saves a screenshot of the whole screen: where a window is, only the compositor knows."""
        time.sleep(0.3)  # the program's request is in the log before the compositor shows it
        return super().picture(name)

    def is_active(self, title):
        return self._windows()[1] is not None and self._windows()[1] == self.find(title)

    def maximise(self):
        """Asks the compositor for a larger window, and lets the program show something after it."""
        self.key("super+shift+m")
        self.settle()
        self.key("Tab", "shift+Tab")
        self.settle()

    def close(self):
        return self.compositor == "sway" and super().close()
