"""saves.py RUN FOLDER DRIVER...: saves by several processes, or by both systems; see the functions."""

import os
import random
import re
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))
from archives import RECIPES, make  # noqa: E402

SAVES = 15
ZONES = ["UTC", "Europe/Berlin", "America/St_Johns"]
MOMENTS = [315532800, 951782399, 1017538201, 1143939660, 1500000001, 1700000000]


def write(path, data, moment=MOMENTS[-1], mode=0o644):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)
    path.chmod(mode)
    os.utime(path, (moment, moment))


def start(driver, pairs, zone="UTC"):
    prefix = "Z:" if len(driver) > 1 else ""
    return subprocess.Popen(
        [*driver, *(prefix + str(path) for pair in pairs for path in pair)],
        env={**os.environ, "TZ": zone}, stdout=subprocess.PIPE, text=True, errors="replace")


def together(driver, folder):
    """Two processes save at once: each edit is in the archive if its save succeeded, nothing else is."""
    archive = folder / "base" / "game.vl2"
    archive.parent.mkdir()
    runs, expected = [], {}
    for name in ("first", "second"):
        pairs = []
        for number in range(SAVES):
            work = folder / f"{name}{number}"
            for file in (f"{name}{number}.wav", f"{name}.cs"):
                write(work / file, random.Random(name + file).randbytes(3000) + b"%d" % number)
            pairs.append((archive, work))
        runs.append((start(driver, pairs), pairs))
    for process, pairs in runs:
        output = process.communicate(timeout=300)[0]
        codes = [int(code) for code in re.findall(r"^saved: (\d+)$", output, re.M)]
        assert len(codes) == SAVES and codes.count(0) > SAVES // 2, output
        # Only Windows refuses to replace a file that another process has open.
        assert len(driver) > 1 or not any(codes), output
        for (_, work), code in zip(pairs, codes):
            if code == 0:
                expected.update({path.name: path.read_bytes() for path in work.iterdir()})
    with zipfile.ZipFile(archive) as source:
        assert len(source.namelist()) == len(expected), source.namelist()
        assert {name: source.read(name) for name in source.namelist()} == expected
    assert list(archive.parent.iterdir()) == [archive], list(archive.parent.iterdir())
    print(f"{len(runs)} processes, {SAVES} saves each")


def edit(folder):
    write(folder / "edit.txt", b"after, and longer than before\r\n" * 9, MOMENTS[0])
    write(folder / "a.txt", b"after", MOMENTS[1])
    write(folder / "sub/edit.txt", b"after", MOMENTS[1])
    write(folder / "\u00fcber.txt", b"after", MOMENTS[2], 0o444)
    write(folder / "added/empty", b"", MOMENTS[3])
    write(folder / "added/\u6f22\u5b57.cs", b"echo(1);\n" * 500, MOMENTS[4])
    write(folder / "added/noise.wav", random.Random(7).randbytes(70000), MOMENTS[5])
    return folder


def native_driver():
    for arguments in (["--preset", "dev"], ["--build", "--preset", "dev", "--target", "saveDriver"]):
        subprocess.run(["cmake", *arguments], cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    return ROOT / "build" / "dev" / "bin" / "saveDriver"


def same_bytes(driver, folder):
    """The Windows library writes the same bytes as the native one, from the same archives and edits."""
    edits, large = edit(folder / "edits"), edit(folder / "large")
    write(large / "large.bin", random.Random(8).randbytes(18 << 20) + bytes(9 << 20))
    given = [(None, large)]
    for recipe in sorted(RECIPES.keys() - {"data missing"}):
        make(recipe, folder / f"{recipe}.vl2")
        given.append((folder / f"{recipe}.vl2", edits))
    given += [(path, edits) for path in sorted((ROOT / "tests/data/archives").glob("*.vl2"))]
    for zone in ZONES:
        results = []
        for system in ([native_driver()], driver):
            place = folder / zone.replace("/", "-") / str(len(results))
            place.mkdir(parents=True)
            pairs = [(place / f"{number}.vl2", work) for number, (_, work) in enumerate(given)]
            for (archive, _), (target, _) in zip(given, pairs):
                if archive:
                    shutil.copyfile(archive, target)
            process = start(system, pairs, zone)
            output = process.communicate()[0]
            assert process.returncode == 0, output
            results.append([target.read_bytes() for target, _ in pairs])
        for (archive, work), native, other in zip(given, *results):
            assert not archive or native != archive.read_bytes(), f"{archive} was not saved"
            assert native == other, f"{archive or work} in {zone} differs"
    print(f"{len(given)} archives, the same bytes in {len(ZONES)} time zones")


if __name__ == "__main__":
    run, scratch = {"together": together, "same-bytes": same_bytes}[sys.argv[1]], Path(sys.argv[2])
    shutil.rmtree(scratch, ignore_errors=True)
    scratch.mkdir(parents=True)
    run(sys.argv[3:], scratch.resolve())
    shutil.rmtree(scratch)
