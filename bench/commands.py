"""orvel-vl2 beside what modders use in scripts."""

import os
import subprocess
import sys
import zipfile

import make_archive
from paired import Candidate, run_paired

# In one line of eight, and in 27 lines of the game-like archive.
FREQUENT, RARE = "commandToClient", "1234.5"
TEXTS = ["-r", "*.cs", "*.mis", "*.gui", "*.txt"]
GAME_KEY = r"SOFTWARE\Sierra Online\Setup\Tribes2"
ARCHIVES = 142


def piped(text):
    """A command of the shell; "{}" in it stands for the candidate's folder."""
    return lambda folder: ["sh", "-c", text.replace("{}", folder)]


def peak(command):
    """The peak resident memory of a command in MiB."""
    # Started by a small process: one that this process starts would count its memory too.
    script = ("import resource, subprocess, sys\n"
              "subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, check=True)\n"
              "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
    return int(subprocess.check_output(["sh", "-c", '"$@"; exit $?', "sh", sys.executable, "-c", script,
                                        *command])) / 1024


class Commands:
    def __init__(self, environment, figures, game):
        self.environment, self.figures = environment, figures
        self.archive, self.tree, self.many = game.archive, game.tree, game.many
        self.tool = os.path.join(environment.programs, "orvel-vl2")

    def ours(self, *arguments, prefix=()):
        return Candidate("Orvel", lambda folder: [*prefix, self.tool, *(
            argument.replace("{}", folder) for argument in arguments)])

    def compare(self, work, ours, peers, goal):
        run_paired([ours, *peers], self.environment.new_path(), self.environment.rounds)
        for peer in peers:
            self.figures.faster("scripts: " + work, ours, peer, goal)

    def run(self):
        self.compare("test", self.ours("test", self.archive),
                     [Candidate("7z t", lambda _: ["7z", "t", self.archive])], 3)
        self.compare("list of 100,000", self.ours("list", self.many),
                     [Candidate("7z l", lambda _: ["7z", "l", self.many])], 20)
        self.search()
        self.build()
        self.differences()
        self.conflicts()
        for work, command in (("test", ["test", self.archive]), ("grep", ["grep", FREQUENT, self.archive])):
            self.figures.memory("scripts: %s of 300 MB" % work, peak([self.tool, *command]), 64)
        crowd = self.environment.cached("small-500000.vl2", lambda path: make_archive.make_small(path, 500_000))
        for verb in ("list", "test"):
            self.figures.memory("scripts: %s of 500,000 entries" % verb, peak([self.tool, verb, crowd]), 160)

    def search(self):
        texts = " ".join("'%s'" % text for text in TEXTS)
        for work, word, goal in (("grep of a rare word", RARE, 5), ("grep of a frequent word", FREQUENT, None)):
            self.compare(work, self.ours("grep", "-F", word, self.archive), [
                Candidate("7z x -so, grep", piped("7z x -so %s %s | grep -aF %s" % (self.archive, texts, word))),
                Candidate("7z x, grep -r", piped("7z x -o{}/x %s %s >/dev/null && grep -rF %s {}/x" % (
                    self.archive, texts, word)))], goal)

    def build(self):
        ours = self.ours("build", self.tree, "{}/ours.vl2")
        peer = Candidate("7z a -mx5", piped("cd %s && 7z a -tzip -mx5 {}/7z.zip ." % self.tree))
        self.compare("build", ours, [peer], 2.5)
        sizes = []
        for candidate, name in ((ours, "ours.vl2"), (peer, "7z.zip")):
            folder = self.environment.new_path()
            os.makedirs(folder)
            subprocess.run(candidate.command(folder), check=True, stdout=subprocess.DEVNULL)
            sizes.append(os.path.getsize(os.path.join(folder, name)))
        self.figures.size("scripts: build", sizes[0], "7z a -mx5", sizes[1], 1.01)

    def changed(self, path):
        """The archive with one changed entry."""
        with zipfile.ZipFile(self.archive) as source, zipfile.ZipFile(path, "w") as target:
            for number, info in enumerate(source.infolist()):
                data = source.read(info)
                target.writestr(info, data + b"//\n" if number == 0 else data, compresslevel=1)

    def differences(self):
        other = self.environment.cached("game-changed.vl2", self.changed)
        both = "7z x -o{}/a %s >/dev/null && 7z x -o{}/b %s >/dev/null && ! diff -rq {}/a {}/b" % (
            self.archive, other)
        ours = Candidate("Orvel", piped("! %s diff %s %s" % (self.tool, self.archive, other)))
        self.compare("diff of one entry", ours, [Candidate("7z x of both, diff -r", piped(both))], 20)

    def game(self, path):
        base = os.path.join(path, "GameData", "base")
        os.makedirs(base)
        for number in range(ARCHIVES):
            with zipfile.ZipFile(os.path.join(base, "map%03d.vl2" % number), "w") as target:
                for file in range(60):
                    target.writestr("textures/set%d/picture%d.png" % (number // 2, file), b"%d" % number)

    def conflicts(self):
        game = self.environment.cached("game-142", self.game)
        config = os.path.join(self.environment.folder, "config-142")
        prefix = ["env", "XDG_CONFIG_HOME=" + config]
        subprocess.run([*prefix, os.path.join(self.environment.programs, "orvel-reg"), "add", GAME_KEY,
                        "directory", game], check=True)
        ours = Candidate("Orvel", piped("! XDG_CONFIG_HOME=%s %s conflicts" % (config, self.tool)))
        run_paired([ours], self.environment.new_path(), self.environment.rounds)
        self.figures.bound("scripts: conflicts over %d archives" % ARCHIVES, ours, 50)
