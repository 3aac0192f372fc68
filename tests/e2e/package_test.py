"""The Debian package: its dependencies, its files, and that the desktop accepts them.

usage: package_test.py BUILD FOLDER
"""

import configparser
import os
import shutil
import subprocess
import sys
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
BUILD, FOLDER = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
ID = "org.orvel.Orvel"

# Path below usr, and its mode.
FILES = {
    "bin/orvel": 0o755,
    "bin/orvel-reg": 0o755,
    "lib/orvel/modules/libvl2uzip.so": 0o644,
    "lib/orvel/modules/libvl2zip.so": 0o644,
    "share/orvel/windows/NOTEPAD.EXE": 0o755,
    f"share/applications/{ID}.desktop": 0o644,
    f"share/metainfo/{ID}.metainfo.xml": 0o644,
    f"share/mime/packages/{ID}.xml": 0o644,
    f"share/icons/hicolor/scalable/apps/{ID}.svg": 0o644,
    f"share/icons/hicolor/16x16/apps/{ID}.png": 0o644,
    f"share/icons/hicolor/256x256/apps/{ID}.png": 0o644,
    "share/doc/orvel/copyright": 0o644,
    "share/man/man1/orvel.1*": 0o644,
    "share/man/man1/orvel-reg.1*": 0o644,
}


def run(*command, **options):
    answer = subprocess.run(
        [str(part) for part in command], capture_output=True, text=True, check=False, **options
    )
    assert answer.returncode == 0, f"{command}: {answer.stdout}{answer.stderr}"
    return answer.stdout


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(FOLDER, ignore_errors=True)
        FOLDER.mkdir(parents=True)
        # With a umask that keeps new files private.
        run("cpack", "-G", "DEB", "-B", FOLDER, cwd=BUILD, umask=0o077)
        (cls.package,) = FOLDER.glob("*.deb")
        run("dpkg-deb", "-x", cls.package, FOLDER / "root")
        cls.usr = FOLDER / "root" / "usr"

    def test_every_file_has_its_path_and_mode(self):
        for pattern, mode in FILES.items():
            found = list(self.usr.glob(pattern))
            self.assertEqual(len(found), 1, pattern)
            self.assertEqual(found[0].stat().st_mode & 0o777, mode, pattern)
        for folder in filter(Path.is_dir, self.usr.rglob("*")):
            self.assertEqual(folder.stat().st_mode & 0o777, 0o755, folder)

    def test_it_depends_on_the_libraries_that_it_loads(self):
        depends = run("dpkg-deb", "-f", self.package, "Depends")
        for library in ("libqt6widgets6", "libdeflate0", "zlib1g", "libc6"):
            self.assertIn(library, depends)

    def test_no_program_refers_to_the_build_folder(self):
        programs = [*self.usr.glob("bin/*"), *self.usr.glob("lib/orvel/modules/*.so")]
        for program in programs:
            self.assertNotIn("RUNPATH", run("readelf", "-d", program), program)
            self.assertNotIn(os.fsencode(BUILD), program.read_bytes(), program)

    @unittest.skipUnless(shutil.which("lintian"), "lintian is not installed")
    def test_lintian_reports_nothing(self):
        run("lintian", "--fail-on", "error,warning", "--allow-root", self.package)

    def test_it_runs_from_another_prefix(self):
        answer = run(self.usr / "bin" / "orvel-reg", "--version")
        self.assertIn("orvel-reg ", answer)

    def test_the_desktop_knows_the_program_and_its_archives(self):
        share = self.usr / "share"
        run("desktop-file-validate", share / "applications" / f"{ID}.desktop")
        store = share / "metainfo" / f"{ID}.metainfo.xml"
        run("appstreamcli", "validate", "--no-net", store)
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(share / "applications" / f"{ID}.desktop")
        self.assertEqual(entry["Desktop Entry"]["Icon"], ID)
        store = xml.parse(store)
        self.assertEqual(store.findtext("id"), ID)
        self.assertEqual(store.findtext("launchable"), f"{ID}.desktop")
        version = store.find("releases/release").get("version")
        self.assertIn(f"VERSION {version} ", (ROOT / "CMakeLists.txt").read_text())
        self.assertIn(f"## {version}", (ROOT / "CHANGELOG.md").read_text())
        site = store.findtext("url[@type='homepage']")
        for picture in store.iter("image"):
            self.assertTrue((ROOT / picture.text.removeprefix(site + "/")).is_file(), picture.text)
        run("update-mime-database", share / "mime")
        self.assertIn("application/x-vl2 application/zip", (share / "mime/subclasses").read_text())
        self.assertIn("application/x-vl2:*.vl2", (share / "mime/globs2").read_text())


unittest.main(argv=sys.argv[:1])
