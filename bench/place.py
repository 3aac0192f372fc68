"""Where the measuring happens: a folder on the disk that is measured, and the programs to run."""

import os
import shlex
import shutil
import subprocess

from contest import Contestant


def sh(*arguments, **options):
    return subprocess.run(arguments, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


class Place:
    """`programs` holds vl2bench and pickbench, `folder` is worked in, `rounds` are counted."""

    def __init__(self, programs, folder, rounds):
        self.programs = os.path.abspath(programs)
        self.tool = os.path.join(self.programs, "vl2bench")
        self.folder = os.path.abspath(folder)
        self.rounds = rounds
        self._fresh = 0
        os.makedirs(self.folder, exist_ok=True)
        self._scratch = os.path.join(self.folder, "scratch-%d" % os.getpid())
        os.makedirs(self._scratch)

    def path(self, name):
        return os.path.join(self.folder, name)

    def fresh(self):
        """A path inside the folder that nothing has used yet."""
        self._fresh += 1
        return os.path.join(self._scratch, str(self._fresh))

    def made(self, name, make):
        """A file or folder that is kept from run to run; `make` gets the path to make it at."""
        target = self.path(name)
        if not os.path.exists(target):
            make(target + ".new")
            os.rename(target + ".new", target)
        return target

    def ours(self, verb, *arguments, **options):
        """vl2bench with a verb; "{}" in an argument stands for the contestant's folder."""
        return Contestant("Orvel", lambda folder: [self.tool, verb] + [
            argument.replace("{}", folder) for argument in arguments], **options)

    def clear(self):
        """Deletes everything but what is kept, this run's and what a stopped one left."""
        for name in os.listdir(self.folder):
            if name.startswith("scratch"):
                shutil.rmtree(os.path.join(self.folder, name))

    def file_system(self):
        return sh("df", "--output=fstype", self.folder).split()[-1]


def shown(command, place):
    """A command as the page shows it: without where things are on this machine."""
    text = " ".join(shlex.quote(part) for part in command)
    return text.replace(place.folder + os.sep, "").replace(place.programs + os.sep, "")
