"""scripts/setup installs what is missing and nothing else, by way of a stand-in for apt-get."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent

# Every package is installed, except those that MISSING names; UNKNOWN ones are in no archive.
STAND_INS = {
    "dpkg-query": 'case " $MISSING " in *" ${!#} "*) exit 1 ;; esac; printf installed',
    "apt-cache": 'case " $UNKNOWN " in *" ${!#} "*) exit 100 ;; esac',
    "apt-get": 'echo "$*" >> "$LOG"',
    "sudo": 'echo "sudo" >> "$LOG"; exec "$@"',
}


class Setup(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.log = self.folder / "log"
        for name, body in STAND_INS.items():
            path = self.folder / name
            path.write_text(f"#!/bin/bash\n{body}\n")
            path.chmod(0o755)

    def run_setup(self, *arguments, missing="", unknown=""):
        environment = {
            **os.environ,
            "PATH": f"{self.folder}:{os.environ['PATH']}",
            "MISSING": missing,
            "UNKNOWN": unknown,
            "LOG": str(self.log),
        }
        return subprocess.run(
            [str(ROOT / "scripts" / "setup"), *arguments],
            env=environment,
            cwd="/",
            capture_output=True,
            text=True,
            check=False,
        )

    def calls(self):
        lines = self.log.read_text().splitlines() if self.log.exists() else []
        return [line for line in lines if line != "sudo"]

    def test_nothing_is_installed_where_nothing_is_missing(self):
        self.assertEqual(self.run_setup().returncode, 0)
        self.assertEqual(self.calls(), [])

    def test_only_what_is_missing_is_installed_and_the_lists_come_first(self):
        answer = self.run_setup(missing="ninja-build xvfb")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        update, install = self.calls()
        self.assertIn("update", update)
        self.assertTrue(install.endswith("ninja-build xvfb"), install)

    def test_either_of_two_packages_will_do(self):
        self.assertEqual(self.run_setup("--check", missing="p7zip-full").returncode, 0)
        both = "p7zip-full 7zip"
        self.run_setup(missing=both)
        self.assertTrue(self.calls()[-1].endswith(" p7zip-full"))
        self.run_setup(missing=both, unknown="p7zip-full")
        self.assertTrue(self.calls()[-1].endswith(" 7zip"))

    def test_a_package_that_no_archive_has_ends_it(self):
        answer = self.run_setup(missing="xvfb", unknown="xvfb")
        self.assertNotEqual(answer.returncode, 0)
        self.assertIn("xvfb", answer.stderr)
        self.assertFalse([call for call in self.calls() if "install" in call])

    def test_check_lists_and_installs_nothing(self):
        answer = self.run_setup("--check", "build", missing="cmake xvfb")
        self.assertNotEqual(answer.returncode, 0)
        self.assertEqual(answer.stdout.split(), ["cmake"])
        self.assertEqual(self.calls(), [])


unittest.main()
