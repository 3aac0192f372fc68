"""Makes and reads archives for the tests: archives.py VERB ARCHIVE [ARGUMENTS]; entries as JSON."""

import base64
import json
import os
import sys
import zipfile


def make(path, files):
    with zipfile.ZipFile(path, "w") as archive:
        for entry in files:
            info = zipfile.ZipInfo(entry["name"], (2001, 3, 4, 12, 30, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 0
            info.external_attr = entry["attributes"]
            archive.writestr(info, base64.b64decode(entry["bytes"]))


def large(path, count, folders):
    with zipfile.ZipFile(path, "w") as archive:
        for number in range(count):
            folder = number * folders // count
            info = zipfile.ZipInfo(f"folder{folder:05}/file{number:06}.cs", (2001, 3, 4, 12, 30, 0))
            archive.writestr(info, f"// {number}\n")


def big(path, megabytes):
    with zipfile.ZipFile(path, "w") as archive:
        with archive.open("sounds/noise.wav", "w") as entry:
            for _ in range(megabytes):
                entry.write(os.urandom(1 << 20))


def read(path):
    with zipfile.ZipFile(path) as archive:
        bad = archive.testzip()
        if bad is not None:
            sys.exit(f"{bad} is damaged")
        entries = [
            {"name": info.filename, "bytes": base64.b64encode(archive.read(info)).decode()}
            for info in archive.infolist()
        ]
        json.dump(entries, sys.stdout)


verb, target, *rest = sys.argv[1:]
if verb == "make":
    with open(rest[0], encoding="utf-8") as entries:
        make(target, json.load(entries))
elif verb == "large":
    large(target, int(rest[0]), int(rest[1]))
elif verb == "big":
    big(target, int(rest[0]))
else:
    read(target)
