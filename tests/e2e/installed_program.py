"""Installs the build into a folder, chooses programs in the settings window and does the whole job
with the installed program: by keyboard alone, on file names in any script, with every control's name
and role on the accessibility bus.

usage: installed_program.py BUILD FOLDER
"""

import os
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from accessibility import Bus, Person, role_of  # noqa: E402
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402
from job import BOX, MAIN, SETTINGS, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Screen  # noqa: E402

SHOWN, FILE = "Names", "names.vl2"
NAMES = {
    "Cyrillic and Japanese": "Карта 地図.txt",
    "emoji": "🗺️ map 🧭.png",
    "combining and composed marks": "e\u0301te\u0301 \u00e9t\u00e9.txt",
    "mixed directions": "map מפה 1.txt",
}

# The stops of the Tab key, in order: a control's role, name and description.
BUTTONS = ["Edit File", "Open Folder", "Settings..."]
MAIN_STOPS = [
    ("combo box", SHOWN, ""),  # named by its choice; its label has its purpose
    ("push button", "Save Changes", ""),
    ("push button", "Cancel", ""),
    ("tree", "Select a file to edit", ""),
] + [("push button", name, "") for name in BUTTONS]
MAIN_LABELS = {
    "Select a category": ("combo box", SHOWN),
    "Select a file to edit": ("tree", "Select a file to edit"),
}
KINDS = [f"{kind} Image Editor" for kind in ("PNG", "JPEG", "GIF", "BMP")]
KINDS += [f"{kind} Editor" for kind in ("Text", "Sound", "Video")]
ROWS = [("text", kind, "Path of a program") for kind in KINDS]
SETTINGS_STOPS = [
    stop for row in ROWS for stop in (row, ("push button", "Browse...", row[1]))
] + [("push button", name, "") for name in ("OK", "Cancel")]


def install(build, prefix):
    shutil.rmtree(prefix, ignore_errors=True)
    command = ["cmake", "--install", str(build), "--prefix", str(prefix)]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def make_archive(base):
    with zipfile.ZipFile(base / FILE, "w", zipfile.ZIP_DEFLATED) as archive:
        for script, name in NAMES.items():
            archive.writestr(f"names/{name}", f"{script}\r\n")
        archive.writestr("shapes/box.dts", "not shown in the tree")
    return base / FILE


def check_libraries(process, prefix):
    """The companion libraries that are loaded are the installed ones."""
    lines = Path(f"/proc/{process.pid}/maps").read_text().splitlines()
    loaded = {Path(line.split(maxsplit=5)[5]) for line in lines if "/libvl2" in line}
    assert {path.name for path in loaded} == {"libvl2uzip.so", "libvl2zip.so"}, loaded
    assert all(path.is_relative_to(prefix / "lib") for path in loaded), loaded


def check_work_folders(sandbox, prefix):
    """They are in the program's folder if that is writable, else in the user's data."""
    data = Path(sandbox.environment["XDG_DATA_HOME"]) / "orvel"
    own = prefix / "bin" if os.access(prefix / "bin", os.W_OK) else data
    assert sandbox.work_folders() == own / "temp", sandbox.work_folders()


def choose(job, letter, kind):
    """Chooses the editor for a kind of files in the open-file dialog, by keyboard."""
    screen, title = job.screen, f"^{kind} Editor\\.\\.\\.$"
    screen.key(f"alt+{letter}", "Tab", "space")
    screen.window(title)
    screen.settle()
    screen.type(str(job.sandbox.editor))
    screen.settle()
    screen.key("Return")
    screen.wait(f"the end of {title}", lambda: not screen.find(title))
    screen.window(SETTINGS)
    screen.settle()


def choose_programs(person, job):
    """Through the settings by Tab and by each box's letter. A request of the window manager closes
    neither the settings nor the main window behind them."""
    screen, bus = job.screen, person.bus
    screen.key("alt+s")
    shown = screen.window(SETTINGS)
    window = person.window("Orvel Settings", "dialog")
    bus.check_names(window)
    expected = {kind: ("text", kind) for kind in KINDS}
    assert bus.labels(window) == expected, bus.labels(window)
    person.walk(window, SETTINGS_STOPS)
    for row in reversed(ROWS):
        screen.key(f"alt+{row[1][0].lower()}")
        person.reach(window, row)
    screen.key("alt+F4")
    screen.settle()
    assert screen.find(SETTINGS) == shown, "the settings window was closed"
    assert screen.find(MAIN) == job.window, "the main window was closed"
    choose(job, "p", "PNG")
    choose(job, "t", "Text")
    job.picture("chosen", shown)
    screen.key("alt+o")
    screen.wait("the end of the settings", lambda: not screen.find(SETTINGS))
    screen.window(MAIN)
    for value in ("PNG", "JPG", "GIF", "BMP", "Text", "WAV", "MP3", "AVI", "MPG"):
        stored = job.sandbox.get(OWN_KEY + r"\Programs", value)
        assert stored == (str(job.sandbox.editor) if value in ("PNG", "Text") else ""), value


def check_main(person):
    window = person.window("Orvel v", "frame")
    person.bus.check_names(window)
    assert person.bus.labels(window) == MAIN_LABELS, person.bus.labels(window)
    texts = [item.get_name() for item in person.bus.below(window) if role_of(item) == "label"]
    assert "Select a file to edit." in texts, f"the status is not on the bus: {texts}"
    person.walk(window, MAIN_STOPS)


def check_box(person, job):
    """The message box for a file without a program."""
    job.sandbox.set(OWN_KEY + r"\Programs", "Text", job.sandbox.folder / "gone")
    person.screen.key("alt+e")
    person.screen.window(BOX)
    box = person.window("Orvel", "alert")
    found = {person.bus.described(item)[:2] for item in person.bus.below(box)}
    text = "Cannot edit file. Try changing your Orvel settings."
    expected = {("label", text), ("push button", "OK"), ("push button", "Cancel")}
    assert expected <= found, found
    person.screen.key("Escape")
    person.screen.window(MAIN)
    job.sandbox.set(OWN_KEY + r"\Programs", "Text", job.sandbox.editor)


def selected(person, known):
    for item in person.bus.below(person.bus.window("Orvel v")):
        is_file = role_of(item) == "table cell" and item.get_name() in NAMES.values()
        if is_file and person.bus.has(item, "SELECTED") and item.get_name() not in known:
            return item.get_name()
    return None


def save_changes(person, job, archive):
    """Edits every file, from the tree's first to its last as the tree shows them, and saves."""
    before, edited, shown = Snapshot(archive), {}, []
    job.go_to_tree()
    person.screen.key("Home", "Right")
    for number in range(len(NAMES)):
        person.screen.key("Down")
        item = person.screen.wait("a selected file", lambda: selected(person, shown))
        shown.append(item)
        if number == 0:
            check_box(person, job)
        keys = "Return" if number % 2 else "alt+e"
        edited[f"names/{item}"] = job.edit(SHOWN, f"names/{item}", [keys], f"file-{number}")
    assert shown == sorted(NAMES.values(), key=str.casefold), shown
    job.save(SHOWN, archive)
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


class OpenedJob(Job):
    """The program as the desktop starts it for an archive that the user opens."""

    def open(self, archive, share):
        self.screen.environment["XDG_DATA_DIRS"] = f"{share}:/usr/local/share:/usr/share"
        path = f"{self.sandbox.programs}:{self.screen.environment['PATH']}"
        environment = {**self.screen.environment, "PATH": path}
        subprocess.run(["gio", "open", str(archive)], env=environment, check=True)
        self.window = self.screen.window(MAIN)
        self.screen.settle()
        self.picture("opened", self.window)

    def close(self):
        self.screen.key("alt+F4")
        self.screen.wait("the program's end", lambda: not self.screen.find(MAIN))


def throw_away(screen, sandbox, prefix, archive):
    """Opens the archive from the desktop, extracts it, edits a file and cancels."""
    before = archive.read_bytes()
    job = OpenedJob(screen, sandbox)
    job.open(archive, prefix / "share")
    job.extract(SHOWN, Snapshot(archive))
    (job.work_folder(SHOWN) / "names" / NAMES["emoji"]).write_text("edited")
    job.cancel(SHOWN)
    job.close()
    assert archive.read_bytes() == before, "the archive changed though Cancel was pressed"


def main(build, folder):
    if not shutil.which("dbus-run-session"):
        print("Skipped: dbus-run-session is not installed (scripts/setup display)")
        return 77
    if "ORVEL_OWN_BUS" not in os.environ:
        os.environ["ORVEL_OWN_BUS"] = "1"
        command = ["dbus-run-session", "--", sys.executable, *sys.argv]
        return subprocess.run(command, check=False).returncode
    prefix = folder / "prefix"
    install(build, prefix)
    sandbox = Sandbox(folder / "sandbox", prefix / "bin")
    sandbox.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    # A program's path may hold blanks.
    sandbox.editor = sandbox.editor.rename(sandbox.editor.parent / "my editor")
    with Screen(sandbox.environment, folder / "pictures") as screen:
        # The registry of the accessibility bus needs a display from its first call on.
        os.environ["DISPLAY"] = screen.environment["DISPLAY"]
        pointer = screen.pointer()
        job = Job(screen, sandbox)
        person = Person(screen, Bus())
        try:
            job.see_no_game_message()
            archive = make_archive(sandbox.install_game())
            job.see_splash()
            check_work_folders(sandbox, prefix)
            choose_programs(person, job)
            job.pick(SHOWN)
            job.extract(SHOWN, Snapshot(archive))
            check_main(person)
            found = save_changes(person, job, archive)
            check_libraries(job.process, prefix)
            job.close()
        finally:
            job.stop()
        throw_away(screen, sandbox, prefix, archive)
        assert screen.pointer() == pointer, "the mouse was moved"
    print("\n".join(found))
    return 0


sys.exit(main(*(Path(os.path.abspath(argument)) for argument in sys.argv[1:])))
