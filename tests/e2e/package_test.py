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

# Paths below usr: of programs, which may be executed, and of other files.
PROGRAMS = "bin/orvel bin/orvel-reg bin/orvel-vl2 share/orvel/windows/NOTEPAD.EXE"
FILES = f"""lib/orvel/modules/libvl2uzip.so lib/orvel/modules/libvl2zip.so
    share/applications/{ID}.desktop share/metainfo/{ID}.metainfo.xml share/mime/packages/{ID}.xml
    share/icons/hicolor/scalable/apps/{ID}.svg share/icons/hicolor/16x16/apps/{ID}.png
    share/icons/hicolor/256x256/apps/{ID}.png share/doc/orvel/copyright
    share/man/man1/orvel.1* share/man/man1/orvel-reg.1* share/man/man1/orvel-vl2.1*
    share/bash-completion/completions/orvel-vl2 share/zsh/site-functions/_orvel-vl2"""


def run(*command, **options):
    answer = subprocess.run(command, capture_output=True, text=True, check=False, **options)
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
        for patterns, mode in ((PROGRAMS, 0o755), (FILES, 0o644), ("**/", 0o755)):
            for pattern in patterns.split():
                found = list(self.usr.glob(pattern))
                self.assertTrue(found, pattern)
                for path in found:
                    self.assertEqual(path.stat().st_mode & 0o777, mode, path)

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
