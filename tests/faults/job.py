"""A game folder, an archive in it, and the program's steps on them, for fault tests."""

import os
import shutil
import signal
import subprocess
import zipfile

PROGRAM_KEY = r"SOFTWARE\Voxhollow\Game Editors\Tribes2\Orvel"
GAME_KEY = r"SOFTWARE\Sierra Online\Setup\Tribes2"

ENTRIES = {
    "scripts/client.cs": b"echo(\"client\");\r\n" * 900,
    "scripts/server.cs": b"echo(\"server\");\r\n" * 40,
    "textures/skins/base.png": b"\x89PNG" + bytes(range(256)) * 60,
    "shapes/disc.dts": bytes(range(251)) * 31,
    "readme.txt": b"read me\r\n",
    "missions/one.mis": b"new SimGroup(MissionGroup) {};\r\n" * 12,
}
EDITS = {
    "scripts/server.cs": b"// changed by hand\r\n" * 55,
    "textures/skins/base.png": b"\x89PNG" + bytes(reversed(range(256))) * 70,
    "missions/two.mis": b"// a new mission\r\n" * 9,
}


def write_files(root, files):
    for name, content in files.items():
        path = os.path.join(root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)


def read_tree(root):
    """Every file below a folder by its relative path."""
    found = {}
    for parent, _, names in os.walk(root):
        for name in names:
            path = os.path.join(parent, name)
            with open(path, "rb") as file:
                found[os.path.relpath(path, root)] = file.read()
    return found


def archive_content(path):
    with zipfile.ZipFile(path) as archive:
        bad = archive.testzip()
        if bad:
            raise AssertionError("damaged entry %s in %s" % (bad, path))
        return {info.filename: archive.read(info) for info in archive.infolist()}


class Job:
    """One archive in a game folder below `root`. `reset` puts everything back to the state that
    `freeze` saw, so that each fault starts from the same disk."""

    def __init__(self, binaries, root):
        self.binaries, self.root = binaries, root
        self.live = os.path.join(root, "live")
        self.frozen = os.path.join(root, "frozen")
        self.base = os.path.join(self.live, "game", "GameData", "base")
        self.archive = os.path.join(self.base, "job.vl2")
        self.temp = os.path.join(self.live, "temp")
        self.work = os.path.join(self.temp, "Job")
        self.config = os.path.join(self.live, "config")
        shutil.rmtree(root, ignore_errors=True)
        os.makedirs(self.base)
        os.makedirs(self.config)
        self.env = dict(os.environ, XDG_CONFIG_HOME=self.config, HOME=self.live,
                        XDG_DATA_HOME=os.path.join(self.live, "data"),
                        WINEPREFIX=os.path.join(self.live, "no-prefix"),
                        QT_QPA_PLATFORM="offscreen", LSAN_OPTIONS="detect_leaks=0")
        with zipfile.ZipFile(self.archive, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, content in ENTRIES.items():
                archive.writestr(zipfile.ZipInfo(name, (2001, 3, 28, 12, 0, 0)), content,
                                 zipfile.ZIP_DEFLATED)
        self.register(GAME_KEY, "directory", os.path.join(self.live, "game"))
        self.register(PROGRAM_KEY, "tempdir", self.temp)

    def register(self, key, name, text, **options):
        return self.run("orvel-reg", "add", key, name, text, **options)

    def run(self, program, *arguments, watch=None, must=True):
        """Runs a program of the build, `watch` holding settings of the call watcher."""
        env = dict(self.env)
        if watch is not None:
            env.update({"WATCH_" + key.upper(): str(value) for key, value in watch.items()})
            # By bare name: in a list of paths, blanks separate.
            preload = [os.environ.get("LD_PRELOAD"), "libcallWatch.so"]
            env["LD_PRELOAD"] = " ".join(filter(None, preload))
            env["LD_LIBRARY_PATH"] = self.binaries
        done = subprocess.run([os.path.join(self.binaries, program), *arguments], env=env,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              timeout=120, check=False)
        if must and done.returncode != 0:
            raise AssertionError("%s %s ended with %d:\n%s%s" % (
                program, " ".join(arguments), done.returncode, done.stdout, done.stderr))
        return done

    def steps(self, *steps, **options):
        return self.run("jobDriver", "Job", *steps, **options)

    def extract_and_edit(self):
        self.steps("extract")
        write_files(self.work, EDITS)
        for name in EDITS:
            os.utime(os.path.join(self.work, name), (1_000_000_000, 1_000_000_000))

    def freeze(self):
        shutil.rmtree(self.frozen, ignore_errors=True)
        subprocess.run(["cp", "-a", self.live, self.frozen], check=True)

    def reset(self):
        shutil.rmtree(self.live)
        subprocess.run(["cp", "-a", self.frozen, self.live], check=True)

    def calls_of(self, folder, run):
        """The watched calls of one undisturbed run: (name, path) pairs."""
        log = os.path.join(self.root, "calls.log")
        if os.path.exists(log):
            os.remove(log)
        run({"folder": folder, "log": log})
        with open(log, encoding="utf-8") as file:
            return [tuple(line.rstrip("\n").split(" ", 2)[1:]) for line in file]

    def bytes_of_archive(self):
        with open(self.archive, "rb") as file:
            return file.read()

    def temporaries(self):
        return [os.path.join(parent, name) for parent, _, names in os.walk(self.live)
                for name in names if name.startswith(".orvel-") or name.endswith(".part")]


def was_killed(done):
    return done.returncode == -signal.SIGKILL
