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
from job import MAIN, SETTINGS, Job  # noqa: E402
from sandbox import OWN_KEY, Sandbox  # noqa: E402
from screen import Missed, Screen  # noqa: E402

SHOWN, FILE = "Names", "names.vl2"
NAMES = {
    "Cyrillic and Japanese": "Карта 地図.txt",
    "emoji": "🗺️ map 🧭.png",
    "combining and composed marks": "e\u0301te\u0301 \u00e9t\u00e9.txt",
    "mixed directions": "map מפה 1.txt",
}

# The stops of the Tab key, in order: a control's role, name and description.
BUTTONS = ["Edit File", "Open Folder", "Settings..."]
MAIN_STOPS = [("tree", "Select a file to edit", "")]
MAIN_STOPS += [("push button", name, "") for name in BUTTONS] + [
    ("combo box", SHOWN, ""),  # named by its choice; its label has its purpose
    ("push button", "Save Changes", ""),
    ("push button", "Cancel", ""),
]
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


def check_main(person):
    window = person.window("Orvel v", "frame")
    person.bus.check_names(window)
    assert person.bus.labels(window) == MAIN_LABELS, person.bus.labels(window)
    texts = [item.get_name() for item in person.bus.below(window) if role_of(item) == "label"]
    assert "Select a file to edit." in texts, f"the status is not on the bus: {texts}"
    person.walk(window, MAIN_STOPS)


def selected(person, known):
    cells = (item for item in person.bus.below(person.bus.window("Orvel v"))
             if role_of(item) == "table cell" and person.bus.has(item, "SELECTED"))
    names = (item.get_name() for item in cells)
    return next((name for name in names if name in NAMES.values() and name not in known), None)


def select_next(person, known):
    """Presses Down until another file is selected: keys that are pressed while a program is being
    started are discarded, and its file may be saved before that time is over."""
    for _ in range(3):
        person.screen.key("Down")
        try:
            return person.screen.wait("a selected file", lambda: selected(person, known), 10)
        except Missed as missed:
            reason = missed
    raise reason


def save_changes(person, job, archive):
    """Edits every file, from the tree's first to its last as the tree shows them, and saves."""
    before, edited, shown = Snapshot(archive), {}, []
    person.screen.key("Home", "Right")
    for number in range(len(NAMES)):
        item = select_next(person, shown)
        shown.append(item)
        keys = "Return" if number % 2 else "alt+e"
        edited[f"names/{item}"] = job.edit(SHOWN, f"names/{item}", [keys], f"file-{number}")
    assert shown == sorted(NAMES.values(), key=str.casefold), shown
    job.save(SHOWN, archive)
    return compare(before, Snapshot(archive), edited) + [judge_with_7z(archive)]


def use_desktop_programs(job):
    """Edits a file in an editor of the desktop, which is found by its name, and shows its folder in
    a file manager. Both get the keyboard focus."""
    screen, name = job.screen, NAMES["mixed directions"]
    job.sandbox.set(OWN_KEY + r"\Programs", "Text", "mousepad")
    associations = Path(screen.environment["XDG_CONFIG_HOME"]) / "mimeapps.list"
    associations.write_text("[Default Applications]\ninode/directory=pcmanfm.desktop\n")
    job.select_first_in("names")
    job.select("map")
    screen.key("alt+e")
    screen.window("Mousepad$")
    screen.settle()
    screen.type("by hand: ")
    screen.key("ctrl+s")
    file = job.work_folder(SHOWN) / "names" / name
    screen.wait("change by the editor", lambda: file.read_bytes().startswith(b"by hand: "))
    job.picture("mousepad")
    screen.key("ctrl+q")
    screen.window(MAIN)
    screen.key("alt+o")
    manager = screen.window("^names$")
    screen.settle()
    job.picture("pcmanfm", manager)
    screen.key("alt+F4")
    screen.window(MAIN)


def throw_away(screen, sandbox, prefix, archive):
    """Opens the archive from the desktop, by an impatient double click that starts the program
    twice, extracts it, edits a file with the desktop's programs and cancels."""
    before = archive.read_bytes()
    job = Job(screen, sandbox)
    found = {
        "XDG_DATA_DIRS": f"{prefix}/share:/usr/local/share:/usr/share",
        "PATH": f"{sandbox.programs}:{screen.environment['PATH']}",
    }
    for _ in range(2):
        subprocess.run(["gio", "open", archive], env={**screen.environment, **found}, check=True)
    job.window = screen.window(MAIN)
    screen.settle()
    job.picture("opened", job.window)
    job.extract(SHOWN, Snapshot(archive))
    use_desktop_programs(job)
    job.cancel(SHOWN)
    screen.key("alt+F4")
    screen.wait("the program's end", lambda: not screen.find(MAIN))
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
    shutil.rmtree(prefix, ignore_errors=True)
    command = ["cmake", "--install", build, "--prefix", prefix]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
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
            assert sandbox.work_folders() == prefix / "bin" / "temp", sandbox.work_folders()
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
