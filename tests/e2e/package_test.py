"""The Debian package: what it depends on, what lies where, and that it runs from there.

usage: package_test.py BUILD FOLDER
"""

import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from archive_check import Snapshot  # noqa: E402
from job import MAIN, Job  # noqa: E402
from sandbox import GAME_KEY, make_game  # noqa: E402
from screen import Screen  # noqa: E402
from tour import FILE, SHOWN  # noqa: E402

BUILD, FOLDER = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
ID = "org.orvel.Orvel"
SOCKETS = "/tmp/.X11-unix"
ALONE = ("unshare", "--mount")  # with mounts of its own
os.environ["PATH"] += ":/usr/sbin:/sbin"  # where chroot is, and what dpkg starts

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


def needed(depends):
    """The installed packages that a list of dependencies leads to."""
    fields = "${Package}\t${Pre-Depends}, ${Depends}\t${Provides}\n"
    packages, provided = {}, {}
    for line in run("dpkg-query", "-W", "-f", fields).splitlines():
        name, wants, provides = line.split("\t")
        packages[name] = wants
        for other in re.findall(r"[a-z0-9][a-z0-9+.-]+(?=\s*(?:\(|,|$))", provides):
            provided.setdefault(other, name)
    found, waiting = set(), [depends]
    while waiting:
        for group in waiting.pop().split(","):
            names = [re.split(r"[ (:]", choice.strip())[0] for choice in group.split("|")]
            known = [name if name in packages else provided.get(name) for name in names]
            chosen = next(filter(None, known), None)
            if chosen and chosen not in found:
                found.add(chosen)
                waiting.append(packages[chosen])
    return sorted(found)


class CleanRoot:
    """A root folder that holds some of the machine's packages, and a player's home."""

    user, home = 1000, "home/player"

    def __init__(self, folder):
        self.folder = folder
        for name in ("proc", SOCKETS.lstrip("/"), self.home, "var/lib/dpkg/info"):
            (folder / name).mkdir(parents=True)
        (folder / "tmp").chmod(0o1777)
        for name in ("bin", "sbin", "lib", "lib64"):
            (folder / "usr" / name).mkdir(parents=True)
            if Path("/", name).is_symlink():
                (folder / name).symlink_to(f"usr/{name}")

    def add(self, packages):
        (self.folder / "var/lib/dpkg/status").write_text(run("dpkg-query", "-s", *packages))
        for path in run("dpkg-query", "-L", *packages).splitlines():
            source, target = Path(path), self.folder / path.lstrip("/")
            if not path.startswith("/") or os.path.lexists(target) or not os.path.lexists(source):
                continue
            if source.is_dir() and not source.is_symlink():
                target.mkdir(parents=True)
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            try:
                os.link(source, target, follow_symlinks=False)
            except OSError:  # another disk
                shutil.copy2(source, target, follow_symlinks=False)

    def command(self, program):
        alone = [*ALONE, "--fork", "--pid", "--kill-child", f"--mount-proc={self.folder / 'proc'}"]
        # The screen's socket is in a folder that may be on another disk.
        screen = f'mount --bind {SOCKETS} "$0{SOCKETS}" && exec chroot "$@"'
        user = f"--userspec={self.user}:{self.user}"
        return [*alone, "sh", "-c", screen, str(self.folder), user, str(self.folder), program]

    def environment(self, others):
        kept = {name: others[name] for name in ("PATH", "DISPLAY") if name in others}
        return {**kept, "HOME": f"/{self.home}"}

    def install_game(self):
        game = self.folder / self.home / "game"
        base = make_game(game)
        for path in (game.parent, *game.parent.rglob("*")):
            os.chown(path, self.user, self.user)
        command = [*self.command("/usr/bin/orvel-reg"), "add", GAME_KEY, "directory"]
        run(*command, f"/{self.home}/game", env=self.environment(os.environ))
        return base

    def work_folders(self):
        return self.folder / self.home / ".local/share/orvel/temp"


class RootJob(Job):
    def start(self):
        self.process = subprocess.Popen(
            self.sandbox.command("/usr/bin/orvel"),
            env=self.sandbox.environment(self.screen.environment),
            stdin=subprocess.DEVNULL,
        )

    def see_splash(self):
        self.start()
        self.window = self.screen.window(MAIN)


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(FOLDER, ignore_errors=True)
        FOLDER.mkdir(parents=True)
        # As somebody packs who keeps new files to himself.
        run("cpack", "-G", "DEB", "-B", FOLDER, cwd=BUILD, umask=0o077)
        (cls.package,) = FOLDER.glob("*.deb")
        run("dpkg-deb", "-x", cls.package, FOLDER / "root")
        cls.usr = FOLDER / "root" / "usr"

    def test_everything_is_in_its_place(self):
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

    def test_nothing_points_back_to_where_it_was_built(self):
        programs = [*self.usr.glob("bin/*"), *self.usr.glob("lib/orvel/modules/*.so")]
        for program in programs:
            self.assertNotIn("RUNPATH", run("readelf", "-d", program), program)
            self.assertNotIn(os.fsencode(BUILD), program.read_bytes(), program)

    @unittest.skipUnless(shutil.which("lintian"), "lintian is not installed")
    def test_lintian_has_nothing_to_say(self):
        run("lintian", "--fail-on", "error,warning", "--allow-root", self.package)

    def test_it_runs_where_nothing_is_installed_but_what_it_depends_on(self):
        if subprocess.run([*ALONE, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            why = "refused by this machine" if os.geteuid() == 0 else "needs root"
            print(f"\n{why}: a root folder of its own, with mounts")
            self.skipTest(why)
        root = CleanRoot(FOLDER / "clean")
        self.addCleanup(shutil.rmtree, root.folder)
        root.add(needed(run("dpkg-deb", "-f", self.package, "Depends")))
        run("dpkg", f"--root={root.folder}", "--install", self.package)
        with Screen(os.environ, FOLDER / "pictures") as screen:
            job = RootJob(screen, root)
            try:
                archive = root.install_game() / FILE
                job.see_splash()
                job.pick(SHOWN)
                job.extract(SHOWN, Snapshot(archive))
                job.close()
            finally:
                job.stop()


unittest.main(argv=sys.argv[:1])
