"""Checks a saved archive with tools that are independent of the program."""

import subprocess
import zipfile


class Snapshot:
    """The entries of an archive in order, with their bytes, dates and attributes."""

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
        """The path of each file in a work folder, by entry name."""
        return {
            name: name.replace("\\", "/")
            for name in self.names
            if not name.endswith(("/", "\\"))
        }


def compare(before, after, edited):
    """Checks that `after` is `before` with the entries in `edited` (name to bytes) replaced.

    Returns the results as sentences. Raises AssertionError for a difference.
    """
    if after.names != before.names:
        raise AssertionError(
            f"{after.path}: the entry names changed from {before.names} to {after.names}"
        )
    for name in before.names:
        data, date, attributes = after.contents[name]
        if name in edited:
            if data == before.contents[name][0]:
                raise AssertionError(f"{after.path}: {name} does not contain the change")
            if data != edited[name]:
                raise AssertionError(f"{after.path}: {name} does not contain the saved bytes")
        elif (data, date, attributes) != before.contents[name]:
            raise AssertionError(f"{after.path}: {name} changed without an edit")
    return [f"{name} contains the change" for name in edited] + [
        f"the other {len(before.names) - len(edited)} entries are unchanged: "
        "names, order, bytes, dates, attributes"
    ]


def judge_with_7z(path):
    """Raises AssertionError if 7-Zip reports an error in an archive."""
    answer = subprocess.run(["7z", "t", "-y", str(path)], capture_output=True, text=True, check=False)
    if answer.returncode or "Everything is Ok" not in answer.stdout:
        raise AssertionError(f"{path}: 7-Zip reports:\n{answer.stdout}{answer.stderr}")
    return "7-Zip finds nothing wrong"
