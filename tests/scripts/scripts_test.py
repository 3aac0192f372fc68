"""The judge of saved archives, and the documents."""

import re
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from archive_check import Snapshot, compare, judge_with_7z  # noqa: E402

DATE, LATER = (2002, 4, 14, 12, 30, 0), (2002, 4, 14, 12, 30, 2)
ORIGINAL = [("a/one.cs", b"one", DATE, 0), ("b\\two.png", b"two", DATE, 1)]
SAVED = [("a/one.cs", b"one!", LATER, 0), ("b\\two.png", b"two", DATE, 1)]

WRONG = {
    "an entry is lost": SAVED[:1],
    "the order changed": SAVED[::-1],
    "a name was respelled": [SAVED[0], ("b/two.png", b"two", DATE, 1)],
    "another change was saved": [("a/one.cs", b"???", LATER, 0), SAVED[1]],
    "an unedited entry changed": [SAVED[0], ("b\\two.png", b"Two", DATE, 1)],
    "an unedited entry's date changed": [SAVED[0], ("b\\two.png", b"two", LATER, 1)],
    "an unedited entry's attributes changed": [SAVED[0], ("b\\two.png", b"two", DATE, 0)],
}


class ArchiveCheck(unittest.TestCase):
    """The judge of saved archives finds every kind of damage that a save could do."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def archive(self, entries):
        path = self.folder / "archive.zip"
        with zipfile.ZipFile(path, "w") as archive:
            for name, data, date, attributes in entries:
                entry = zipfile.ZipInfo(name, date)
                entry.external_attr = attributes
                archive.writestr(entry, data)
        return path

    def test_a_right_archive_passes(self):
        before = Snapshot(self.archive(ORIGINAL))
        found = compare(before, Snapshot(self.archive(SAVED)), {"a/one.cs": b"one!"})
        self.assertEqual(len(found), 2)
        self.assertIn("nothing wrong", judge_with_7z(self.archive(SAVED)))

    def test_a_wrong_archive_is_told_from_a_right_one(self):
        before = Snapshot(self.archive(ORIGINAL))
        for what, entries in WRONG.items():
            with self.subTest(what), self.assertRaises(AssertionError):
                compare(before, Snapshot(self.archive(entries)), {"a/one.cs": b"one!"})


DOCUMENTS = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]


def anchor(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Documents(unittest.TestCase):
    """Every link in the documents has a target, and every picture is shown."""

    def test_every_link_leads_somewhere(self):
        for document in DOCUMENTS:
            text = document.read_text("utf-8")
            headings = {anchor(line) for line in re.findall(r"^#+ (.*)$", text, re.M)}
            links = re.findall(r"\]\(([^)\s]+)\)", text) + re.findall(r'src="([^"]+)"', text)
            links += [part.split()[0] for group in re.findall(r'srcset="([^"]+)"', text)
                      for part in group.split(",")]
            for link in links:
                path, _, place = link.partition("#")
                if "://" in link:
                    continue
                with self.subTest(document.name, link=link):
                    self.assertTrue((document.parent / path).exists())
                    self.assertTrue(path or place in headings)

    def test_every_picture_is_shown(self):
        text = "".join(document.read_text("utf-8") for document in DOCUMENTS)
        for picture in (ROOT / "docs" / "images").glob("*.png"):
            self.assertIn(f"images/{picture.name}", text)


unittest.main()
