"""The sample game holds what real archives are known for, the same bytes each time."""

import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
KINDS = set("cs dso gui txt dml ifl png jpg gif bmp wav mp3 avi mpg mis ter nav spn dts dsq".split())
PICTURES = {"png", "jpg", "gif", "bmp"}


class SampleGame(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.archives = cls.make("a b")

    @classmethod
    def make(cls, name):
        command = [sys.executable, str(ROOT / "scripts" / "sample-game"), str(cls.folder / name)]
        subprocess.run(command, check=True, capture_output=True)
        base = cls.folder / name / "GameData" / "base"
        return {path.name: path for path in base.glob("*.vl2")}

    def entries(self):
        self.assertGreater(len(self.archives), 5)
        for path in self.archives.values():
            with zipfile.ZipFile(path) as archive:
                for entry in archive.infolist():
                    yield entry, archive.read(entry)

    def test_every_kind_of_entry_is_there(self):
        entries = [entry for entry, _ in self.entries()]
        self.assertLessEqual(KINDS, {entry.filename.rsplit(".")[-1].lower() for entry in entries})
        wanted = {
            "backslash": lambda entry: "\\" in entry.orig_filename,
            "UTF-8 flag": lambda entry: entry.flag_bits & 0x800,
            "read-only": lambda entry: entry.external_attr & 1,
            "folder": lambda entry: entry.is_dir(),
            "root": lambda entry: "/" not in entry.filename and "\\" not in entry.filename,
            "stored": lambda entry: entry.compress_type == 0 and entry.file_size,
            "deflated": lambda entry: entry.compress_type == 8,
            "empty": lambda entry: not entry.is_dir() and entry.file_size == 0,
        }
        for kind, matches in wanted.items():
            self.assertTrue(any(map(matches, entries)), kind)

    def test_pictures_are_pictures(self):
        seen = set()
        for entry, data in self.entries():
            kind = entry.filename.rsplit(".")[-1]
            if kind in PICTURES and kind not in seen:
                seen.add(kind)
                path = self.folder / f"picture.{kind}"
                path.write_bytes(data)
                answer = subprocess.run(
                    ["identify", "-regard-warnings", str(path)], capture_output=True, check=False
                )
                self.assertEqual(answer.returncode, 0, (entry.filename, answer.stderr))
        self.assertEqual(seen, PICTURES)

    def test_a_second_game_is_the_same(self):
        for name, path in self.make("second").items():
            self.assertEqual(path.read_bytes(), self.archives[name].read_bytes(), name)


unittest.main()
