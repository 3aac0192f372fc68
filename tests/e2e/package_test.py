"""The Debian package: what it depends on, what lies where, and that it runs from there.

usage: package_test.py BUILD FOLDER
"""

import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

BUILD, FOLDER = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
ID = "org.orvel.Orvel"

# Path below usr, and its mode.
FILES = {
    "bin/orvel": 0o755,
    "bin/orvel-reg": 0o755,
    "lib/orvel/libvl2uzip.so": 0o644,
    "lib/orvel/libvl2zip.so": 0o644,
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
        run("cpack", "-G", "DEB", "-B", FOLDER, cwd=BUILD)
        (cls.package,) = FOLDER.glob("*.deb")
        run("dpkg-deb", "-x", cls.package, FOLDER / "root")
        cls.usr = FOLDER / "root" / "usr"

    def test_everything_is_in_its_place(self):
        for pattern, mode in FILES.items():
            found = list(self.usr.glob(pattern))
            self.assertEqual(len(found), 1, pattern)
            self.assertEqual(found[0].stat().st_mode & 0o777, mode, pattern)

    def test_it_depends_on_the_libraries_that_it_loads(self):
        depends = run("dpkg-deb", "-f", self.package, "Depends")
        for library in ("libqt6widgets6", "libdeflate0", "zlib1g", "libc6"):
            self.assertIn(library, depends)

    def test_nothing_points_back_to_where_it_was_built(self):
        programs = [*self.usr.glob("bin/*"), *self.usr.glob("lib/orvel/*.so")]
        for program in programs:
            self.assertNotIn("RUNPATH", run("readelf", "-d", program), program)
            self.assertNotIn(os.fsencode(BUILD), program.read_bytes(), program)

    def test_its_command_runs(self):
        environment = {**os.environ, "XDG_CONFIG_HOME": str(FOLDER / "config")}
        command = self.usr / "bin" / "orvel-reg"
        run(command, "add", "SOFTWARE\\A", "b", "text", env=environment)
        self.assertEqual(run(command, "query", "software\\a", "B", env=environment), "text\n")

    @unittest.skipUnless(shutil.which("lintian"), "lintian is not installed")
    def test_lintian_finds_no_error(self):
        run("lintian", "--fail-on", "error", "--allow-root", self.package)


unittest.main(argv=sys.argv[:1])
