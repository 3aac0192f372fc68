"""Two Windows processes save into the same archive at once: each edit is in the archive, or its
process has said that it is not and the archive is as if it had never begun.

usage: save_together.py WINDOWS-DRIVER FOLDER
"""

import random
import shutil
import subprocess
import sys
import time
import zipfile
from pathlib import Path

ROUNDS = 20
KEPT = {f"kept/{number}.wav": random.Random(number).randbytes(1 << 20) for number in range(24)}
BOTH = "both.cs"


def make_archive(path):
    with zipfile.ZipFile(path, "w") as archive:
        for name, data in {**KEPT, BOTH: b"before"}.items():
            archive.writestr(name, data)


def content(path):
    with zipfile.ZipFile(path) as archive:
        names = archive.namelist()
        assert len(names) == len(set(names)), names
        return {name: archive.read(name) for name in names}


def start(driver, archive, folder):
    names = ["Z:" + str(path) for path in (archive, folder)]
    return subprocess.Popen(["wine", driver, *names], stdout=subprocess.PIPE, text=True)


def temporaries(archive):
    return [path.name for path in archive.parent.iterdir() if path != archive]


def one_round(driver, archive, edits, delay):
    """What the processes ended with, and whether one wrote while the other one was running."""
    running = []
    for folder in edits:
        running.append(start(driver, archive, folder))
        time.sleep(delay)
    at_once = False
    while all(process.poll() is None for process in running):
        at_once |= len(temporaries(archive)) > 1  # the mark that keeps others out, and the file
        time.sleep(0.002)
    told = [process.communicate(timeout=120)[0] for process in running]
    saved = [process.returncode == 0 for process in running]
    where = f"{saved} {told}"
    assert any(saved), where
    expected = dict(KEPT)
    for (_, files), done in zip(edits.items(), saved):
        if done:
            expected.update(files)
    found = content(archive)
    # Whichever came last; the order of the two is theirs.
    may_be = {files[BOTH] for files, done in zip(edits.values(), saved) if done}
    assert found.pop(BOTH) in may_be, where
    del expected[BOTH]
    assert found == expected, f"{where} {sorted(found)}"
    assert not temporaries(archive), f"{where} {temporaries(archive)}"
    return saved, at_once


def main(driver, folder):
    shutil.rmtree(folder, ignore_errors=True)
    edits = {}
    for name in ("first", "second"):
        edits[folder / name] = {f"{name}.cs": name.encode() * 999, BOTH: name.encode()}
        for file, data in edits[folder / name].items():
            path = folder / name / file
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)
    archive = folder / "base" / "game.vl2"
    archive.parent.mkdir()
    both = overlapping = 0
    for number in range(ROUNDS):
        make_archive(archive)
        saved, at_once = one_round(driver, archive, edits, number * 0.005)
        both += all(saved)
        overlapping += at_once
    print(f"{ROUNDS} rounds: both saved in {both}, one wrote beside the other in {overlapping}")
    assert overlapping > ROUNDS // 4, "they hardly met"
    shutil.rmtree(folder)


if __name__ == "__main__":
    main(*(Path(argument).resolve() for argument in sys.argv[1:]))
