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
    """Every link has a target, every picture is shown, and the layers are as drawn."""

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

    def test_the_sources_include_only_along_the_arrows(self):
        text = (ROOT / "docs" / "architecture.md").read_text("utf-8")
        drawing = re.search(r"^```layers\n(.*?)^```", text, re.M | re.S)[1]
        arrows = [line.split("->") for line in drawing.splitlines()]
        below = {layer.strip(): targets.split() for layer, targets in arrows}
        order = list(below)
        for layer, targets in below.items():
            for target in targets:
                self.assertGreater(order.index(target), order.index(layer), f"{layer} -> {target}")

        def layer_of(path):
            folder = re.sub(r"/(posix|windows)$", "", str(Path(path).parent))
            return folder if folder in below else None

        used = set()
        tops = {layer.partition("/")[0] for layer in below}
        sources = [path for top in tops for path in (ROOT / top).rglob("*.[ch]*")]
        self.assertGreater(len(sources), 100)
        for path in sources:
            name = path.relative_to(ROOT)
            layer = layer_of(name)
            self.assertIsNotNone(layer, name)
            for header in re.findall(r'#include "(.+?)"', path.read_text("utf-8")):
                target = layer_of(header)
                if target != layer:
                    used.add((layer, target))
                    self.assertIn(target, below[layer], f"{name} includes {header}")
        drawn = {(layer, target) for layer, targets in below.items() for target in targets}
        self.assertEqual(drawn - used, set(), "drawn, but not used")


unittest.main()
