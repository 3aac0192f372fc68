"""The environment of a benchmark: a folder on the measured disk, and the programs to run."""

import glob
import os
import shlex
import shutil
import subprocess
import sys

from paired import Candidate


def on_screen(screen):
    """What a command begins with to run on a virtual display."""
    return ["env"] + ["%s=%s" % (name, text) for name, text in screen.environment.items()
                      if os.environ.get(name) != text]


def sh(*arguments, **options):
    return subprocess.run(arguments, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


class Environment:
    """`programs` contains vl2bench and pickbench; `folder` is the work folder."""

    def __init__(self, programs, folder, rounds):
        self.programs = os.path.abspath(programs)
        self.tool = os.path.join(self.programs, "vl2bench")
        self.folder = os.path.abspath(folder)
        self.rounds = rounds
        self._count = 0
        os.makedirs(self.folder, exist_ok=True)
        self._scratch = os.path.join(self.folder, "scratch-%d" % os.getpid())
        os.makedirs(self._scratch)

    def new_path(self):
        """An unused path in the work folder."""
        self._count += 1
        return os.path.join(self._scratch, str(self._count))

    def cached(self, name, make):
        """A file or folder that later runs use again; `make` creates it at the path it is given."""
        target = os.path.join(self.folder, name)
        if not os.path.exists(target):
            make(target + ".new")
            os.rename(target + ".new", target)
        return target

    def orvel(self, verb, *arguments, **options):
        """vl2bench with a verb; "{}" in an argument stands for the candidate's folder."""
        return Candidate("Orvel", lambda folder: [self.tool, verb] + [
            argument.replace("{}", folder) for argument in arguments], **options)

    def clear(self):
        """Deletes everything except cached files, also the files of an aborted run."""
        for name in os.listdir(self.folder):
            if name.startswith("scratch"):
                shutil.rmtree(os.path.join(self.folder, name))

    def file_system(self):
        kind, device = sh("df", "--output=fstype,source", self.folder).split()[-2:]
        if not kind.startswith("ext"):
            return kind
        # It decides how fast files are created and deleted.
        journal = glob.glob("/proc/fs/jbd2/%s-*" % os.path.basename(device))
        return kind + (" with a journal" if journal else " without a journal")

    def shown(self, command):
        """A command as text, without the paths of this machine."""
        command = ["python3" if part == sys.executable else part for part in command]
        text = " ".join(shlex.quote(part) for part in command)
        return text.replace(self.folder + os.sep, "").replace(self.programs + os.sep, "")
