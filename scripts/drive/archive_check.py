"""Judges a saved archive with tools that share nothing with the program."""

import subprocess
import zipfile


class Snapshot:
    """What an archive holds at one moment: each entry's bytes, in order."""

    def __init__(self, path):
        self.path = path
        with zipfile.ZipFile(path) as archive:
            damaged = archive.testzip()
            if damaged:
                raise AssertionError(f"{path}: {damaged} is damaged")
            entries = archive.infolist()
            self.names = [entry.orig_filename for entry in entries]
            self.contents = {
                entry.orig_filename: (archive.read(entry), entry.date_time, entry.external_attr)
                for entry in entries
            }

    def names_on_disk(self):
        """Where each file's entry lies below a work folder, by entry name."""
        return {
            name: name.replace("\\", "/")
            for name in self.names
            if not name.endswith(("/", "\\"))
        }


def compare(before, after, edited):
    """Checks that `after` is `before` with the entries in `edited` (name to bytes) replaced.

    Returns what it found as sentences; raises AssertionError with what is wrong.
    """
    if after.names != before.names:
        raise AssertionError(
            f"{after.path}: the entries are no longer the same: {before.names} became {after.names}"
        )
    for name in before.names:
        data, date, attributes = after.contents[name]
        if name in edited:
            if data == before.contents[name][0]:
                raise AssertionError(f"{after.path}: {name} does not hold the change")
            if data != edited[name]:
                raise AssertionError(f"{after.path}: {name} holds something else than was saved")
        elif (data, date, attributes) != before.contents[name]:
            raise AssertionError(f"{after.path}: {name} changed though nobody edited it")
    return [f"{name} holds the change" for name in edited] + [
        f"the other {len(before.names) - len(edited)} entries are what they were: "
        "names, order, bytes, dates, attributes"
    ]


def judge_with_7z(path):
    """Raises AssertionError where 7-Zip finds anything wrong with an archive."""
    answer = subprocess.run(["7z", "t", "-y", str(path)], capture_output=True, text=True, check=False)
    if answer.returncode or "Everything is Ok" not in answer.stdout:
        raise AssertionError(f"{path}: 7-Zip says:\n{answer.stdout}{answer.stderr}")
    return "7-Zip finds nothing wrong with it"
