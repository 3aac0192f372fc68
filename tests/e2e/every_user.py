"""What a person without a mouse, or with a screen reader, has of the program, on a real X server:
names, roles and labels on the accessibility bus, the keyboard's way through both windows, and file
names in any script.

usage: every_user.py PROGRAMS FOLDER
"""

import os
import shutil
import subprocess
import sys
import time
import zipfile
from pathlib import Path

SKIPPED = 77
try:
    import gi
except ImportError:
    # The distribution's Python has it where another one comes first.
    if sys.executable == "/usr/bin/python3" or not Path("/usr/bin/python3").exists():
        print("Skipped: Python's gi is not installed (scripts/setup display)")
        sys.exit(SKIPPED)
    os.execv("/usr/bin/python3", ["/usr/bin/python3", *sys.argv])

sys.path.insert(0, str(Path(__file__).resolve().parent.parent.parent / "scripts" / "drive"))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import BOX, MAIN, SETTINGS, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Missed, Screen  # noqa: E402

ARCHIVE, SHOWN = "names.vl2", "Names"
NAMES = {
    "Cyrillic": "Карта мира.txt",
    "Japanese": "地図を読んで.txt",
    "emoji": "🗺️ map 🧭.txt",
    "combining marks": "e\u0301te\u0301 n\u0303.txt",
    "composed marks": "\u00e9t\u00e9 \u00f1.txt",
    "right to left": "خريطة العالم.txt",
    "mixed directions": "map מפה 1.txt",
}

# What the keyboard comes past, in order: a control's role and name, and its description.
MAIN_STOPS = [
    ("combo box", SHOWN, ""),  # named by what is chosen; what for, its label says
    ("push button", "Save Changes", ""),
    ("push button", "Cancel", ""),
    ("tree", "Select a file to edit", ""),
    ("push button", "Edit File", ""),
    ("push button", "Open Folder", ""),
    ("push button", "Settings...", ""),
]
MAIN_LABELS = [("combo box", "Select a category"), ("tree", "Select a file to edit")]
KINDS = [f"{kind} Image Editor" for kind in ("PNG", "JPEG", "GIF", "BMP")]
KINDS += [f"{kind} Editor" for kind in ("Text", "Sound", "Video")]
ROWS = [("text", kind, "Path of a program") for kind in KINDS]
SETTINGS_STOPS = [
    stop for row in ROWS for stop in (row, ("push button", "Browse...", row[1]))
] + [("push button", name, "") for name in ("OK", "Cancel")]


def role_of(item):
    """What the bus calls a control; newer ones have another name for a button."""
    name = item.get_role_name()
    return "push button" if name == "button" else name


class Bus:
    """The program as a screen reader has it."""

    def __init__(self):
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi

        self.states, self.relations = Atspi.StateType, Atspi.RelationType
        self.desktop = Atspi.get_desktop(0)
        self.desktop.set_cache_mask(Atspi.Cache.NONE)  # what was told once may have changed since

    def below(self, item):
        for number in range(item.get_child_count()):
            child = item.get_child_at_index(number)
            if child is not None:
                yield child
                yield from self.below(child)

    def window(self, title, role=None):
        """A window of the program by the beginning of its title."""
        for program in self.children(self.desktop):
            for window in self.children(program):
                if window.get_name().startswith(title) and role in (None, role_of(window)):
                    return window
        return None

    @staticmethod
    def children(item):
        found = (item.get_child_at_index(number) for number in range(item.get_child_count()))
        return [child for child in found if child is not None]

    def has(self, item, state):
        return item.get_state_set().contains(getattr(self.states, state))

    @staticmethod
    def told(item):
        return role_of(item), item.get_name(), item.get_description() or ""

    def focused(self, window):
        """What has the keyboard: the tree itself rather than its item."""
        for item in self.below(window):
            if self.has(item, "FOCUSED") and role_of(item) not in ("table cell", "list item"):
                return self.told(item)
        return None

    def labels(self, window):
        """The role and name of what each label is for, by the label's name."""
        found = {}
        for item in self.below(window):
            for relation in item.get_relation_set():
                is_label = role_of(item) == "label"
                if is_label and relation.get_relation_type() == self.relations.LABEL_FOR:
                    target = relation.get_target(0)
                    found[item.get_name()] = (role_of(target), target.get_name())
        return found

    def check_names(self, window, role):
        """Nothing that a person meets is without a name or a role."""
        assert role_of(window) == role, self.told(window)
        nameless = [
            self.told(item)
            for item in [window, *self.below(window)]
            if not item.get_name() or role_of(item) in ("filler", "unknown", "invalid")
        ]
        assert not nameless, f"{window.get_name()}: without a name or a role: {nameless}"


class Person:
    """Somebody at the keyboard, who hears what the bus tells."""

    def __init__(self, screen, bus):
        self.screen, self.bus = screen, bus

    def bus_window(self, title):
        return self.screen.wait(f"{title} on the bus", lambda: self.bus.window(title))

    def walk(self, window, stops):
        """Tab comes past all stops in order and round again, and each can be seen."""
        seen = []
        for stop in [*stops, stops[0]]:
            self.reach(window, stop)
            seen.append(self.screen.settle())
            self.screen.key("Tab")
        for stop, before, after in zip(stops, seen, seen[1:]):
            assert before != after, f"{stop} looks the same with the keyboard and without"
        self.screen.key("shift+Tab")
        self.reach(window, stops[0])

    def reach(self, window, stop):
        try:
            self.screen.wait("the keyboard", lambda: self.bus.focused(window) == stop, 5)
        except Missed as missed:
            raise Missed(f"not {stop} but {self.bus.focused(window)}: {missed}") from missed


def make_archive(base):
    with zipfile.ZipFile(base / ARCHIVE, "w", zipfile.ZIP_DEFLATED) as archive:
        for script, name in NAMES.items():
            archive.writestr(f"names/{name}", f"{script}\r\n")
    return base / ARCHIVE


def edit_all(person, job, archive):
    """Every file, from the tree's first to its last, as the tree shows it; then saves."""
    before, edited = Snapshot(archive), {}
    # The keyboard is where it was before the settings, on their button.
    person.screen.key("shift+Tab", "shift+Tab", "shift+Tab")
    person.reach(person.bus_window("Orvel v"), MAIN_STOPS[3])
    person.screen.key("Home", "Right")
    shown = []
    for number in range(len(NAMES)):
        person.screen.key("Down")
        item = person.screen.wait("a selected file", lambda: selected(person, shown))
        shown.append(item)
        if number == 0:
            check_box(person, job)
        edited[f"names/{item}"] = job.edit(SHOWN, f"names/{item}", ["Return"], f"file-{number}")
    assert sorted(shown) == sorted(NAMES.values()), shown
    assert shown == sorted(shown, key=str.casefold), f"not sorted: {shown}"
    job.save(SHOWN, archive)
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


def selected(person, known):
    for item in person.bus.below(person.bus.window("Orvel v")):
        is_file = role_of(item) == "table cell" and item.get_name().endswith(".txt")
        if is_file and person.bus.has(item, "SELECTED") and item.get_name() not in known:
            return item.get_name()
    return None


def check_main(person, job, archive):
    bus, screen = person.bus, person.screen
    job.see_splash()
    window = person.bus_window("Orvel v")
    labels = {name: (role, name) for role, name in MAIN_LABELS}
    assert bus.labels(window) == labels, bus.labels(window)
    job.pick(SHOWN)
    job.extract(SHOWN, Snapshot(archive))
    bus.check_names(window, "frame")
    told = [item.get_name() for item in bus.below(window) if role_of(item) == "label"]
    assert "Select a file to edit." in told, f"the status is not told: {told}"
    person.walk(window, MAIN_STOPS)


def check_settings(person):
    """By its letter to the settings, through them, each box by its letter, and out again."""
    screen, bus = person.screen, person.bus
    screen.key("alt+s", "alt+s")  # two buttons share the letter once an archive is extracted
    screen.key("Return")
    screen.window(SETTINGS)
    window = person.bus_window("Orvel Settings")
    bus.check_names(window, "dialog")
    expected = {kind: ("text", kind) for kind in KINDS}
    assert bus.labels(window) == expected, bus.labels(window)
    person.walk(window, SETTINGS_STOPS)
    for row in reversed(ROWS):
        screen.key(f"alt+{row[1][0].lower()}")
        person.reach(window, row)
    screen.key("Escape")
    screen.wait("the end of the settings", lambda: not screen.find(SETTINGS))
    screen.window(MAIN)


def check_box(person, job):
    """The box that a kind of file without a program brings up."""
    job.sandbox.set(OWN_KEY + r"\Programs", "Text", job.sandbox.folder / "gone")
    person.screen.key("alt+e")
    person.screen.window(BOX)
    box = person.screen.wait("the box on the bus", lambda: person.bus.window("Orvel", "alert"))
    told = {person.bus.told(item)[:2] for item in person.bus.below(box)}
    text = "Cannot edit file. Try changing your Orvel settings."
    expected = {("label", text), ("push button", "OK"), ("push button", "Cancel")}
    assert expected <= told, told
    person.screen.key("Escape")
    person.screen.window(MAIN)
    job.sandbox.use_stand_in_editor()


def main(programs, folder):
    if not shutil.which("dbus-run-session"):
        print("Skipped: dbus-run-session is not installed (scripts/setup display)")
        return SKIPPED
    if "ORVEL_OWN_BUS" not in os.environ:
        os.environ["ORVEL_OWN_BUS"] = "1"
        command = ["dbus-run-session", "--", sys.executable, *sys.argv]
        return subprocess.run(command, check=False).returncode
    sandbox = Sandbox(folder / "sandbox", programs)
    sandbox.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    sandbox.use_stand_in_editor()
    sandbox.set(OWN_KEY, "tempdir", sandbox.folder / "work")
    archive = make_archive(sandbox.install_game())
    with Screen(sandbox.environment, folder / "pictures") as screen:
        # The registry of the accessibility bus wants a display from its first call on.
        os.environ["DISPLAY"] = screen.environment["DISPLAY"]
        pointer = screen.pointer()
        job = Job(screen, sandbox)
        person = Person(screen, Bus())
        try:
            check_main(person, job, archive)
            check_settings(person)
            found = edit_all(person, job, archive)
            job.close()
        finally:
            job.stop()
        assert screen.pointer() == pointer, "the mouse was moved"
    print("\n".join(found))
    return 0


sys.exit(main(*(Path(os.path.abspath(argument)) for argument in sys.argv[1:])))
