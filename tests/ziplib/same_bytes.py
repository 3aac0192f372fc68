"""The Windows library saves the same bytes as the one of the machine that builds, from the same
archives and the same edits.

usage: same_bytes.py WINDOWS-DRIVER FOLDER
"""

import os
import random
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "drive"))
from sandbox import make_game  # noqa: E402

# Archives of the kinds that others make; see judge.py.
KINDS = ["plain", "prefix", "descriptor", "unreadable", "duplicates", "dotted", "empty prefix",
         "backslash", "cp437", "case", "odd order", "zip64", "shared"]  # fmt: skip
ZONES = ["UTC", "Europe/Berlin", "America/St_Johns"]
MOMENTS = [315532800, 951782399, 1017538201, 1143939660, 1500000001, 1700000000]


def native_driver():
    """Of the everyday build, brought up to date first."""
    build = ROOT / "build" / "dev"
    quiet = {"stdout": subprocess.DEVNULL}
    if not (build / "CMakeCache.txt").exists():
        subprocess.run(["cmake", "--preset", "dev"], cwd=ROOT, check=True, **quiet)
    subprocess.run(["cmake", "--build", build, "--target", "saveDriver"], check=True, **quiet)
    return build / "bin" / "saveDriver"


def write(path, data, moment, mode=0o644):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)
    path.chmod(mode)
    os.utime(path, (moment, moment))


def edit(folder):
    """What a user may do to a work folder: every edit that a kind of archive has an entry for, and
    new files of all sorts."""
    noise = random.Random(7)
    write(folder / "edit.txt", b"after, and longer than before\r\n" * 9, MOMENTS[0])
    write(folder / "sub/edit.txt", b"after", MOMENTS[1])
    write(folder / "\u00fcber.txt", b"after", MOMENTS[2], 0o444)
    write(folder / "new/empty", b"", MOMENTS[3])
    write(folder / "new/\u6f22\u5b57.cs", b"echo(1);\n" * 500, MOMENTS[4])
    write(folder / "new/noise.wav", noise.randbytes(70000), MOMENTS[5])


def game_cases(folder):
    """Archives of the sample game with all their files, some of them edited."""
    base = make_game(folder / "game")
    for archive in sorted(base.glob("*.vl2")):
        work = folder / "work" / archive.stem
        with zipfile.ZipFile(archive) as entries:
            names = [name for name in entries.namelist() if not name.endswith("/")]
            for number, name in enumerate(names):
                data = entries.read(name)
                if number % 5 == 0:
                    data = data[: len(data) // 2] + b"edited" + data[len(data) // 3 :]
                write(work / name.replace("\\", "/"), data, MOMENTS[number % len(MOMENTS)])
        yield archive, work


def cases(folder):
    common = folder / "work" / "edited"
    edit(common)
    write(common / "large.bin", random.Random(8).randbytes(18 << 20) + bytes(9 << 20), MOMENTS[5])
    yield None, common
    small = folder / "work" / "small"
    edit(small)
    for kind in KINDS:
        archive = folder / f"{kind}.vl2"
        subprocess.run([sys.executable, HERE / "judge.py", "make", kind, archive], check=True)
        yield archive, small
    yield from game_cases(folder)


def main(windows, folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    given = list(cases(folder))
    drivers = {"native": [native_driver()], "windows": ["wine", windows]}
    for zone in ZONES:
        results = {}
        for system, driver in drivers.items():
            place = folder / zone.replace("/", "-") / system
            place.mkdir(parents=True)
            arguments = []
            for number, (archive, work) in enumerate(given):
                target = place / f"{number}.vl2"
                if archive:
                    shutil.copyfile(archive, target)
                for path in (target, work):
                    arguments.append(str(path) if system == "native" else "Z:" + str(path))
            told = subprocess.run(
                [*driver, *arguments], env={**os.environ, "TZ": zone}, capture_output=True, check=False
            )
            assert told.returncode == 0, f"{system}: {told.stdout.decode()}{told.stderr.decode()}"
            results[system] = [(place / f"{n}.vl2").read_bytes() for n in range(len(given))]
        for number, (archive, work) in enumerate(given):
            before = archive.read_bytes() if archive else None
            native, other = (results[system][number] for system in drivers)
            assert native != before, f"{archive} was not saved"
            assert native == other, f"{archive or work} in {zone} differs"
    print(f"{len(given)} archives, the same bytes in {len(ZONES)} time zones")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main(*(Path(argument).resolve() for argument in sys.argv[1:]))
