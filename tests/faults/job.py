"""A game folder, an archive in it, and the program's steps on them, for fault tests."""

import contextlib
import copy
import glob
import os
import shutil
import signal
import stat
import subprocess
import sys
import zipfile
from pathlib import Path

SKIPPED = 77  # exit code if the machine cannot make a fault

# For mkfs and others, which are not on every user's path.
os.environ["PATH"] += ":/usr/sbin:/sbin"

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


def check(condition, *text):
    if not condition:
        raise AssertionError(" ".join(str(part) for part in text))


def not_made(faults):
    """Prints which faults could not be made, for the list at the end of scripts/test."""
    if faults:
        print("refused by this machine:" if os.geteuid() == 0 else "needs root:", ", ".join(faults))
    return SKIPPED if faults else 0


def main(tests):
    """Runs the test that the command line names: TEST BINARIES SCRATCH. Tests print how many points
    or faults they tried."""
    if len(sys.argv) != 4 or sys.argv[1] not in tests:
        sys.exit("usage: %s %s BINARIES SCRATCH" % (sys.argv[0], "|".join(tests)))
    sys.exit(tests[sys.argv[1]](sys.argv[2], os.path.abspath(sys.argv[3])))


def write_files(root, files):
    for name, content in files.items():
        path = Path(root, name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def read_tree(root):
    """Every file below a folder by its relative path; none if the folder is missing. Without those
    that a FUSE client deletes late."""
    return {str(path.relative_to(root)): path.read_bytes() for path in Path(root).rglob("*")
            if not path.is_dir() and not path.name.startswith(".fuse_hidden")}


def archive_content(path):
    """The entries of an archive by name; raises where a checksum is wrong."""
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


class Snapshot:
    """The files and folders of some folders, with modes and times, as far as a disk keeps them."""

    def __init__(self, folders):
        self.folders = folders
        self.held = []
        for folder in folders:
            for path in sorted(Path(folder).rglob("*")):
                state = path.stat()
                content = None if path.is_dir() else path.read_bytes()
                self.held.append((path, stat.S_IMODE(state.st_mode), state.st_mtime_ns, content))

    def restore(self):
        for folder in self.folders:
            # rclone cannot remove a folder of which it still uploads a file that was deleted.
            shutil.rmtree(folder, ignore_errors=True)
            os.makedirs(folder, exist_ok=True)
            check(not os.listdir(folder), folder, "holds", os.listdir(folder))
        for path, mode, modified, content in self.held:
            if content is None:
                path.mkdir()
            else:
                path.write_bytes(content)
                with contextlib.suppress(OSError):
                    os.utime(path, ns=(modified, modified))
            with contextlib.suppress(OSError):
                os.chmod(path, mode)


class Job:
    """One archive in a game folder below `root`. `reset` puts everything back to the state that
    `freeze` saw, so that each fault starts from the same disk. `front` stands before the archive,
    `more` are edits beside the usual ones, `newer` are entries that another program replaces after the
    extraction, `lacks` are features that the disk lacks, `crowd` more entries. `game` and `temp` are folders elsewhere for
    the game and for the work folders. Of the points in a step, at most `sample` are tried, spread over
    all."""

    def __init__(self, binaries, root, front=b"", more=None, newer=None, lacks=None, game=None,
                 temp=None, sample=None, crowd=None):
        self.binaries, self.root, self.sample = binaries, root, sample
        self.disk = {"lacks": lacks} if lacks else {}
        self.edits = {**EDITS, **(more or {})}
        self.first = {**ENTRIES, **(crowd or {})}
        self.entries = {**self.first, **(newer or {})}
        self.wanted = {**self.entries, **self.edits}
        self.live = os.path.join(root, "live")
        self.game = game or os.path.join(self.live, "game")
        self.base = os.path.join(self.game, "GameData", "base")
        self.archive = os.path.join(self.base, "job.vl2")
        self.temp = temp or os.path.join(self.live, "temp")
        self.parts = [self.live, *filter(None, (game, temp))]
        # All that belongs to the job: the parts elsewhere are beside the root.
        self.watched = os.path.dirname(root) if len(self.parts) > 1 else self.live
        self.work = os.path.join(self.temp, "Job")
        self.config = os.path.join(self.live, "config")
        for part in (root, *self.parts[1:]):
            shutil.rmtree(part, ignore_errors=True)
            os.makedirs(part)
        os.makedirs(self.base)
        os.makedirs(self.config)
        # The cache of the font library is outside of the watched folder.
        self.env = dict(os.environ, XDG_CONFIG_HOME=self.config, HOME=self.live,
                        XDG_CACHE_HOME=os.path.join(root, "cache"),
                        XDG_DATA_HOME=os.path.join(self.live, "data"),
                        WINEPREFIX=os.path.join(self.live, "no-prefix"),
                        QT_QPA_PLATFORM="offscreen", LSAN_OPTIONS="detect_leaks=0")
        self.front = front
        self.make_archive(self.first)
        self.register_folders()

    def register_folders(self):
        self.register(GAME_KEY, "directory", self.game)
        self.register(PROGRAM_KEY, "tempdir", self.temp)

    def of_other_user(self):
        """The same archive with settings and a work folder of its own, beside this job's."""
        other = copy.copy(self)
        other.config = self.config + "-other"
        other.temp = self.temp + "-other"
        other.work = os.path.join(other.temp, "Job")
        other.env = dict(self.env, XDG_CONFIG_HOME=other.config)
        os.mkdir(other.config)
        other.register_folders()
        return other

    def register(self, key, name, text, **options):
        return self.run("orvel-reg", "add", key, name, text, **options)

    def start(self, program, *arguments, watch=None, **options):
        """Starts a program of the build, `watch` holding settings of the call watcher; it watches
        all that `reset` puts back."""
        env = dict(self.env)
        if watch is not None or self.disk:
            watch = {"folder": self.watched, **self.disk, **(watch or {})}
            env.update({"WATCH_" + key.upper(): str(value) for key, value in watch.items()})
            # By bare name: in a list of paths, blanks separate.
            env["LD_PRELOAD"] = env.get("LD_PRELOAD", "") + " libcallWatch.so"
            env["LD_LIBRARY_PATH"] = self.binaries
        return subprocess.Popen([os.path.join(self.binaries, program), *arguments], env=env,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, **options)

    def run(self, program, *arguments, must=True, **options):
        """Runs a program to its end; its exit code must be 0 if `must`."""
        process = self.start(program, *arguments, **options)
        out = ended(process, (program, *arguments), must)
        return subprocess.CompletedProcess(arguments, process.returncode, out)

    def steps(self, *steps, **options):
        return self.run("jobDriver", "Job", *steps, **options)

    def paused(self, *steps, **options):
        """The driver as it waits before these steps."""
        process = self.start("jobDriver", "Job", "pause", *steps, **options)
        until_pause(process)
        return process

    def make_archive(self, entries):
        with zipfile.ZipFile(self.archive, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, content in entries.items():
                archive.writestr(zipfile.ZipInfo(name, (2001, 3, 28, 12, 0, 0)), content,
                                 zipfile.ZIP_DEFLATED)
        write_files(self.base, {"job.vl2": self.front + self.bytes_of_archive()})

    def extract_and_edit(self):
        self.steps("extract")
        if self.entries != self.first:
            self.make_archive(self.entries)
        write_files(self.work, self.edits)
        for name in self.edits:
            os.utime(os.path.join(self.work, name), (1_000_000_000, 1_000_000_000))

    def freeze(self):
        self.frozen = Snapshot(self.parts)

    def reset(self):
        self.frozen.restore()

    def calls_of(self, run, **watch):
        """The watched calls of one undisturbed run, a step or a function: (name, path) pairs."""
        log = Path(self.root, "calls.log")
        log.unlink(missing_ok=True)
        watch["log"] = log
        run(watch=watch) if callable(run) else self.steps(run, watch=watch)
        return [tuple(line.split(" ", 2)[1:]) for line in log.read_text().splitlines()]

    def points(self, calls):
        """The number and a description of each call, each time with the disk reset."""
        tried = self.sample and max(self.sample - 1, 1)
        chosen = {round(i * (len(calls) - 1) / tried) for i in range(self.sample)} if tried else None
        for number, (name, path) in enumerate(calls, 1):
            if chosen is not None and number - 1 not in chosen:
                continue
            self.reset()
            yield number, "at call %d (%s %s):" % (number, name, path)

    def kept(self):
        """New archives that could not be renamed to the name of the old one."""
        return glob.glob(self.archive + ".*")

    def name_kept(self):
        """Renames the kept archive as a user would, if there is no archive under its name."""
        if not os.path.exists(self.archive):
            kept, = self.kept()
            os.rename(kept, self.archive)

    def bytes_of_archive(self):
        return Path(self.archive).read_bytes()

    def extracted(self):
        """The work folder's files but for temporaries."""
        return {name: content for name, content in read_tree(self.work).items()
                if not name.endswith(".part")}

    def edits_are_somewhere(self, where):
        """Every edited file is whole in the archive or in the work folder, and every entry that
        nobody edited is as it was."""
        packed, on_disk = archive_content(self.archive), read_tree(self.work)
        for name, content in self.edits.items():
            check(content in (packed.get(name), on_disk.get(name)), where, "lost the edit of", name)
        for name, content in self.entries.items():
            check(name in self.edits or packed.get(name) == content, where, "damaged", name)

    def save_again(self, where, may_ask=False):
        """What a user does after a fault: start, select the archive, extract if it is not
        extracted, save. Returns whether the work folder was recognised as extracted. `may_ask`: files
        may have come back after the clean-up, so that the save has to be confirmed."""
        done = self.steps("ready", "save").stdout
        if may_ask and "there is no record of their extraction" in done:
            done = self.steps("ready", "save", "save").stdout.replace("error:", "asked:", 1)
        check("error:" not in done, where, "second save failed:", done)
        check(archive_content(self.archive) == self.wanted, where,
              "second save left another content")
        self.nothing_left(where)
        return "state: extracted" in done

    def extract_again(self, where, whole=True):
        """The same for an extraction: if nothing was extracted, all is (`whole`: to the last byte),
        and a save without an edit leaves every entry as it was. Returns its output."""
        process = self.start("jobDriver", "Job", "ready", "pause", "save")
        said = until_pause(process)
        check("state: extracted\n" in said or not whole or self.extracted() == ENTRIES, where,
              "the next extraction is not whole")
        go(process)
        done = ended(process, where)
        check(archive_content(self.archive) == ENTRIES, where, "the archive changed:", done)
        self.nothing_left(where)
        return done

    def nothing_left(self, where):
        # The record stays with the files of the work folder.
        kept = ".orvel-Job.record" if any(not path.is_dir() for path in Path(self.work).rglob("*")) else None
        left = [name for part in self.parts for name in read_tree(part)
                if os.path.basename(name) != kept and
                (os.path.basename(name).startswith(".orvel-") or name.endswith(".part"))]
        check(not left, where, "left behind", left)


def until_pause(process):
    """The lines that the driver prints up to its next pause."""
    said = []
    while (line := process.stdout.readline()) and not line.startswith("pause:"):
        said.append(line)
    check(line, "the driver ended before its pause:", *said)
    return said


def go(process):
    """Ends the driver's pause."""
    process.stdin.write("\n")
    process.stdin.flush()


def ended(process, where, must=True):
    """The output of a program; its exit code must be 0 if `must`."""
    try:
        out, errors = process.communicate(timeout=120)
    finally:
        process.kill()
    check(process.returncode == 0 or not must, where, "ended with", process.returncode, out, errors)
    return out


def was_killed(done):
    return done.returncode == -signal.SIGKILL
