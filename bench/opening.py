#!/usr/bin/env python3
"""Times programs from their start until they have listed an archive, with their window on screen.

    opening.py TITLE COMMAND...

Starts the command on the display of the environment, waits for a visible window whose title matches
the pattern, and then until its processes have used no processor time for half a second. Prints the
milliseconds up to the last use, and the largest peak of resident memory of a process in bytes.
"""

import json
import os
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "scripts" / "drive"))
from environment import on_screen  # noqa: E402
from paired import Candidate, run_paired  # noqa: E402
from screen import Screen  # noqa: E402

QUIET, PATIENCE = 0.5, 60  # seconds
ARCHIVERS = {"Ark": ["ark"], "File Roller": ["file-roller"], "Engrampa": ["engrampa"]}


def processes(session):
    """The numbers of a session's processes, and the processor time of all in ticks."""
    numbers, ticks = [], 0
    for entry in os.scandir("/proc"):
        try:
            with open("/proc/%d/stat" % int(entry.name), encoding="ascii", errors="replace") as file:
                fields = file.read().rsplit(")", 1)[1].split()
        except (ValueError, OSError):
            continue
        if int(fields[3]) == session:
            numbers.append(int(entry.name))
            ticks += int(fields[11]) + int(fields[12])
    return numbers, ticks


def peak(number):
    """The peak of a process's resident memory in bytes; 0 if it has ended."""
    try:
        text = Path("/proc/%d/status" % number).read_text(encoding="utf-8", errors="replace")
    except OSError:
        return 0
    found = re.search(r"VmHWM:\s+(\d+) kB", text)
    return int(found[1]) * 1024 if found else 0


def measure(title, command):
    start = time.monotonic()
    # The archivers of GNOME and MATE start a service that would mount its file system in the home folder.
    session = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env=dict(os.environ, GVFS_DISABLE_FUSE="1"), start_new_session=True).pid
    try:
        while not subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], check=False,
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout:
            if time.monotonic() > start + PATIENCE:
                sys.exit("no window with the title " + title)
            time.sleep(0.03)
        last, ticks = time.monotonic(), 0
        while time.monotonic() < last + QUIET:
            numbers, now = processes(session)
            if now > ticks:
                last, ticks = time.monotonic(), now
            time.sleep(0.01)
        print(json.dumps({"code": 0, "ms": (last - start) * 1000, "bytes": max(map(peak, numbers))}))
    finally:
        for number in processes(session)[0]:
            os.kill(number, signal.SIGKILL)


def opening(environment, figures, sandbox, archive):
    """Orvel, with its splash screen, beside the archivers of other desktops."""
    with Screen(sandbox.environment, sandbox.folder / "pictures") as screen:
        def candidate(name, title, command):
            words = [*on_screen(screen), sys.executable, __file__, title, *command, str(archive)]
            return Candidate(name, lambda f: words, time_of=lambda spent, report: report["ms"])

        ours = candidate("Orvel", "^Orvel v", [environment.programs + "/orvel"])
        peers = [candidate(name, Path(archive).name, ["dbus-run-session", "--", *command])
                 for name, command in ARCHIVERS.items()]
        run_paired([ours, *peers], environment.new_path(), environment.rounds)
        for each, command in zip((ours, *peers), (["orvel"], *ARCHIVERS.values())):
            each.command = lambda f, command=command: [*command, "many.vl2"]

        def memory(each):
            return max(report["bytes"] for report in each.reports)

        for peer, goal in zip(peers, (1.7, 2, 2)):
            figures.faster("start to 100,000 entries listed", ours, peer, goal)
            figures.size("peak of memory meanwhile", memory(ours), peer.name, memory(peer), 0.35)


if __name__ == "__main__":
    measure(sys.argv[1], sys.argv[2:])
