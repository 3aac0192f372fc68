"""The desktop's own tools accept the files by which it knows the program.

usage: desktop_files_test.py PACKAGING   (the build's folder)
"""

import configparser
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PACKAGING = ROOT / "packaging"
BUILT = Path(sys.argv[1])
ID = "org.orvel.Orvel"


def run(*command, **options):
    return subprocess.run(
        [str(part) for part in command], capture_output=True, text=True, check=False, **options
    )


class DesktopFiles(unittest.TestCase):
    def test_the_desktop_entry_is_valid(self):
        answer = run("desktop-file-validate", PACKAGING / f"{ID}.desktop")
        self.assertEqual((answer.returncode, answer.stdout), (0, ""))

    def test_the_store_entry_is_valid(self):
        answer = run("appstreamcli", "validate", "--no-net", BUILT / f"{ID}.metainfo.xml")
        self.assertEqual(answer.returncode, 0, answer.stdout)

    def test_the_store_entry_shows_pictures_that_are_there(self):
        store = xml.parse(BUILT / f"{ID}.metainfo.xml")
        site = store.findtext("url[@type='homepage']")
        pictures = [image.text for image in store.iter("image")]
        self.assertTrue(pictures)
        for picture in pictures:
            self.assertTrue((ROOT / picture.removeprefix(site + "/")).is_file(), picture)

    def test_the_names_agree(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(PACKAGING / f"{ID}.desktop")
        self.assertEqual(entry["Desktop Entry"]["Icon"], ID)
        store = xml.parse(BUILT / f"{ID}.metainfo.xml")
        self.assertEqual(store.findtext("id"), ID)
        self.assertEqual(store.findtext("launchable"), f"{ID}.desktop")
        version = store.find("releases/release").get("version")
        self.assertIn(f"VERSION {version} ", (ROOT / "CMakeLists.txt").read_text())
        self.assertIn(f"## {version}", (ROOT / "CHANGELOG.md").read_text())

    def test_archives_get_a_type_of_their_own(self):
        with tempfile.TemporaryDirectory() as folder:
            packages = Path(folder) / "mime" / "packages"
            packages.mkdir(parents=True)
            (packages / f"{ID}.xml").write_bytes((PACKAGING / f"{ID}.xml").read_bytes())
            answer = run("update-mime-database", packages.parent)
            self.assertEqual(answer.returncode, 0, answer.stderr)
            subclasses = (packages.parent / "subclasses").read_text()
            patterns = (packages.parent / "globs2").read_text()
        self.assertIn("application/x-vl2 application/zip", subclasses)
        self.assertIn("application/x-vl2:*.vl2", patterns)


unittest.main(argv=sys.argv[:1])
