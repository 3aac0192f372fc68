#!/usr/bin/env python3
"""Runs orvel-vl2 on files of a table: vl2_test.py FOLDER [EMULATOR] PROGRAM. Each row is a command line,
the exit code, and patterns for the whole output and for the errors."""

import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))
from archives import Entry, archive, zip64  # noqa: E402

FOLDER, PROGRAM = Path(sys.argv[1]).resolve(), sys.argv[2:]
WINE = len(PROGRAM) > 1
# A sanitizer needs memory of its own, and does not work under strace.
SANITIZED = os.environ.get("ORVEL_SANITIZE", "")
# A start of a program takes long under Wine and with a sanitizer; that of memory has much to find here.
HOSTILE = sorted((ROOT / "tests" / "data" / "hostile").glob("*.vl2"))[::6 if WINE or SANITIZED == "thread" else 1]
SCRIPT = b"// tool\r\nfunction tool()\r\n{\r\n   echo(\"Flag\");\r\n}\r\n"
FILES = [Entry("scripts/a.cs", SCRIPT, 8), Entry("scripts/b.cs", b"caf\xe9 flag\n"),
         Entry("scripts/c.cs", "café mark\n".encode()), Entry("textures/x.png", b"\x89PNG\0\1flag\n")]
# Another user with another umask, if this one may run programs as such.
OTHER_USER = {"user": 65534, "group": 65534, "extra_groups": [], "umask": 0o077}
if WINE or os.geteuid() != 0 or subprocess.call(["test", "-x", *PROGRAM], **OTHER_USER) != 0:
    OTHER_USER = {}
if not WINE:
    import resource  # of POSIX, as the tests that use it
GAME_KEY = r"SOFTWARE\Sierra Online\Setup\Tribes2"


def end_by_signals():
    """Also those that the parent ignores, as nohup and a shell without jobs do."""
    for number in (signal.SIGINT, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)


# Command line, exit code, output, errors; "" is nothing.
ROWS = [
    ("list a.vl2", 0, r"scripts/a.cs\nscripts/b.cs\nscripts/c.cs\ntextures/x.png\n", ""),
    ("list -l a.vl2", 0, r".*\n +50 +\d+  Deflated  2001-04-17 13:37:42  [0-9a-f]{8}  scripts/a.cs\n.*", ""),
    ("list --json one.vl2", 0, r'\{"archive":"one.vl2","entry":"scripts/a.cs","size":50,"compressed":\d+,'
     r'"method":"Deflated","modified":"2001-04-17T13:37:42","crc":"[0-9a-f]{8}","encrypted":false,'
     r'"folder":false\}\n', ""),
    ("list none.vl2 one.vl2", 4, r".*scripts/a.cs\n", "none.vl2"),
    ("list text.txt", 3, "", "text.txt is not a zip archive"),
    ("test a.vl2 one.vl2", 0, r"a.vl2: 4 entries, all right\none.vl2: 1 entry, all right\n", ""),
    ("test bad.vl2", 3, r"bad.vl2: 2 entries, 1 bad\n", "bad.vl2: b.cs is damaged: its checksum is wrong"),
    ("extract a.vl2 - scripts/b.cs", 0, r"caf.* flag\n", ""),
    ("extract a.vl2 -C - scripts/*", 2, "", "more than one entry"),
    ("extract bad.vl2 - b.cs", 3, "", "bad.vl2: b.cs is damaged"),
    ("extract a.vl2 -C out *.png nothing", 1, "", "nothing"),
    ("extract a.vl2 -C text.txt", 4, "", "text.txt"),
    ("diff a.vl2 a.vl2", 0, "", ""),
    ("diff a.vl2 b.vl2", 1, r"added    new.cs\nchanged  scripts/b.cs\n"
     r"renamed  scripts/c.cs -> scripts/d.cs\nremoved  textures/x.png\n", ""),
    ("diff -u a.vl2 b.vl2", 1, r".*--- a.vl2/scripts/b.cs\n\+\+\+ b.vl2/scripts/b.cs\n@@ -1 \+1 @@\n"
     r"-café flag\n\+café flags\n.*", ""),
    ("diff b-to-a left", 1, r"renamed  b -> a\n", ""),
    ("diff a.vl2 tree", 1, "removed  scripts/b.cs\nremoved  scripts/c.cs\nremoved  textures/x.png\n", ""),
    ("diff a.vl2 none", 4, "", "none"),
    ("diff '' a.vl2", 2, "", "must not be empty"),
    ("diff -u bad.vl2 one.vl2", 3, r"--- bad.vl2/a.cs\n\+\+\+ /dev/null\n@@ -1 \+0,0 @@\n-good\n# removed  b.cs\n"
     r".*\+\+\+ one.vl2/scripts/a.cs\n.*", "bad.vl2: b.cs is damaged"),
    ("diff -u --json marks.vl2 empty.vl2", 1, r'.*"diff":"--- \\"marks.vl2/a\\\\012\\\\\\"b.cs\\"\\n.*', ""),
    ("grep -i FLAG a.vl2", 0, r'a.vl2:scripts/a.cs:4:   echo\("Flag"\);\na.vl2:scripts/b.cs:1:café flag\n', ""),
    ("grep é.*(flag|mark)$ a.vl2", 0, "a.vl2:scripts/b.cs:1:café flag\na.vl2:scripts/c.cs:1:café mark\n", ""),
    ("grep -l ^function a.vl2 --json", 0, r'\{"archive":"a.vl2","entry":"scripts/a.cs"\}\n', ""),
    ("grep -F tool() a.vl2", 0, r"a.vl2:scripts/a.cs:2:function tool\(\)\n", ""),
    (r"grep tool\(\)\s*\{ a.vl2", 1, "", ""),
    ("grep ( a.vl2", 2, "", "pattern"),
    ("grep ^(a+)+$ slow.vl2", 2, "", "the pattern takes too long"),
    ("grep ^(a+)+! slow.vl2 -l", 0, "slow.vl2:a.txt\n", ""),
    ("grep x bad.vl2 none.vl2", 4, "", "none.vl2"),
    ("grep needle long.vl2", 1, "", ""),
    ("grep needl[e] long.vl2", 1, "", ""),
    ("grep -F needle huge.vl2", 0, "huge.vl2:a.txt:2:needle\n", ""),
    ("grep '' one.vl2 -l", 0, "one.vl2:scripts/a.cs\n", ""),
    ("rename c.vl2 scripts/a.cs TEXTURES/X.PNG", 2, "", "textures/x.png exists"),
    ("rename c.vl2 scripts/a.cs Scripts/B.cs/a.cs", 2, "", "scripts/b.cs exists"),
    ("rename c.vl2 textures/x.png Scripts", 2, "", "exists"),
    ("rename c.vl2 scripts/a.cs ../a.cs", 2, "", "upwards"),
    ("rename c.vl2 no.cs new.cs", 1, "", "no such entry"),
    ("remove c.vl2 no.cs", 1, "", "no entry to delete: no.cs"),
    ("remove names.vl2 *.mis", 0, "", ""),
    ("remove names.vl2 [CTF]*.mis [y", 1, "", r"\[y: no such entry"),
    ("remove names.vl2 [x]", 0, "", ""),
    ("list names.vl2", 0, "Car.mis\nTap.mis\nx\n", ""),
    ("list [x]", 4, "", r"cannot open \[x\]"),
    ("extract a.vl2 - []", 1, "", "no such entry"),
    ("extract a.vl2 -C ''", 2, "", "must not be empty"),
    ("extract --json bad.vl2 -C out2", 3, r'\{"entry":"a.cs"\}\n',
     r'\A\{"error":"bad.vl2: b.cs is damaged[^\n]*"\}\r?\n\Z'),
    ("list --json", 2, "", r'\A\{"error":"[^\n]*ARCHIVE[^\n]*"\}\r?\n\Z'),
    ("extract --json -k one.vl2 -C tree", 0, "", ""),
    ("save c.vl2 left/none", 0, "", ""),
    ("build tree text.txt", 3, "", "text.txt is not a zip archive"),
    ("build '' new.vl2", 2, "", "must not be empty"),
    ("build twins new.vl2", 2, "", "twins: a.txt and A.TXT have one name"),
    ("build mixed new.vl2", 2, "", "mixed: a and A/b.txt have one name"),
    ("build --help", 0, ".*UTC.*Exit codes:.*", ""),
    ("where ''", 2, "", "must not be empty"),
    ("build tree -", 2, "", "standard output"),
    ("extract a.vl2 - -- -lead.txt", 1, "", "no such entry"),
    ("grep flag -l -- a.vl2 -lead.vl2", 4, ".*", "-lead.vl2"),
    ("check -- one.vl2", 0, "", ""),
    # A build leaves out what is no content, and a difference follows it unless both sides have it.
    ("build dots dots.vl2", 0, "", r"dots: omitted: \.git/HEAD and another"),
    ("diff dots.vl2 dots", 0, "", r"dots: omitted: \.git/HEAD and another"),
    ("diff dots hidden.vl2", 1, r"changed  \.git/HEAD\nremoved  a.cs\n", "omitted: a.cs~"),
    ("save none.vl2 tree", 4, "", "none.vl2"),
    ("save text.txt tree", 3, "", "text.txt"),
    ("build none new.vl2", 4, "", "none"),
    ("check tree", 0, "", ""),
    ("check --ignore none tree", 2, "", "no rule none"),
    ("check --ignore unbalanced --ignore bom --ignore unsafe-name tree marks.vl2", 0, "", ""),
    ("check --ignore=unbalanced --ignore unsafe-name tree marks.vl2", 1, r"marks.vl2: error \[bom\][^\n]*\n", ""),
    ("check hurt.vl2", 3, r"hurt.vl2: error \[unbalanced\] a.cs[^\n]*\n",
     "hurt.vl2: b.cs is damaged(.|\n)*c.png is damaged"),
    # A note is none of the exit code's business, and a terrain may be in another archive.
    ("check mission.vl2", 0, r"mission.vl2: note \[mission-terrain\][^\n]*\n", ""),
    ("check --at-least note mission.vl2", 1, ".*", ""),
    ("check --at-least error a.git.vl2", 0, r"a.git.vl2: warning \[leftover\].*", ""),
    ("check mission.vl2 terrain.vl2", 0, "", ""),
    ("", 2, "", "--help"),
    ("frobnicate", 2, "", "--help"),
    ("list", 2, "", "ARCHIVE"),
    ("--version", 0, r"orvel-vl2 \d+\.\d+\.\d+\n", ""),
]

MISSION = b"// MissionTypes = CTF\nnew TerrainBlock(T) { terrainFile = \"M.ter\"; };\n"
OWN_GRAPH = b"// MissionTypes = CTF\nterrainFile = \"T.ter\";\nGraphFile = \"G.nav\";\n"
GRAPH = {"terrains/M.ter": b"", "terrains/M.nav": b"", "terrains/M.spn": b""}
OLD, NEW = dict(date=42 << 9 | 1 << 5 | 1), dict(date=43 << 9 | 1 << 5 | 1)
SKIN = ["lmale", "mmale", "hmale", "lfemale", "mfemale"]


def files(content, **fields):
    return [Entry(name, data, **fields) for name, data in content.items()]


# For each rule an archive that it must report, one that it must not, and more that it must.
RULES = {
    "method": ([Entry("a.txt", b"x", 12)], [Entry("a.txt", b"x", 8)]),
    "comment": ([Entry("a.txt", comment=b"c")], [Entry("a.txt")]),
    "encrypted": ([Entry("a.txt", b"x", password=b"p")], [Entry("a.txt", b"x")]),
    "zip64": ([Entry("a.bin", b"k" * 9, central=dict(packed=0xFFFFFFFF, size=0xFFFFFFFF), extra=zip64(9, 9))],
              [Entry("a.bin", extra=b"\x55\x54\1\0\0")],
              [Entry("a.bin", b"k" * 9, local=dict(packed=0xFFFFFFFF, size=0xFFFFFFFF, extra=zip64(9, 9)))]),
    "long-name": ([Entry("n" * 206 + ".txt")], [Entry("n" * 205 + ".txt")]),
    "doubled": ([Entry("a.txt"), Entry("a.txt")], [Entry("a.txt"), Entry("A.txt")]),
    "case-only": ([Entry("a.txt"), Entry("A.TXT")], [Entry("a.txt"), Entry("a.txt")]),
    "backslash": ([Entry("a\\b.txt")], [Entry("a/b.txt")]),
    "folder-entry": ([Entry("a/", attributes=16)], [Entry("a/b.txt")]),
    "leftover": ([Entry("a/Thumbs.db")], [Entry("a/thumbs.png"), Entry("a.git/b.txt")],
                 *([Entry(name)] for name in ("a.cs.orig", "a.rej", "a/.git/HEAD", ".svn/b.txt", "VSSVER.SCC"))),
    "dso-stale": ([Entry("a.cs", **NEW), Entry("a.cs.dso", **OLD)], [Entry("a.cs", **OLD), Entry("a.cs.dso", **NEW)]),
    "dso-shadow": ([Entry("a.cs", **OLD), Entry("A.cs.dso", **NEW)], [Entry("b.cs"), Entry("a.cs.dso")]),
    "bm8-twin": ([Entry("t/a.png", **NEW), Entry("t/a.bm8", **OLD)], [Entry("t/a.png", **OLD), Entry("t/a.bm8", **NEW)]),
    "skin-set": (files({"textures/skins/s.lmale.png": b""}),
                 files({"textures/skins/s.%s.png" % model: b"" for model in SKIN})),
    # The mission names its graph; the spawn points have the name of one of both.
    "mission-graph": (files({"missions/M.mis": MISSION, "terrains/M.ter": b"", "terrains/M.nav": b""}),
                      files({"missions/N.mis": OWN_GRAPH, "terrains/T.ter": b"", "terrains/G.nav": b"",
                             "terrains/N.spn": b"", "missions/M.mis": MISSION.replace(b"M.ter", b"Stock.ter")}),
                      files({"missions/N.mis": OWN_GRAPH, "terrains/T.ter": b"", "terrains/N.nav": b"",
                             "terrains/N.spn": b""})),
    "bom": (files({"a.cs": b"\xef\xbb\xbfecho();"}), files({"a.cs": "// é".encode()})),
    "mixed-encoding": (files({"a.txt": "éééé".encode() + b"\xe9"}),
                       files({"a.txt": b"\xe9\xe8 f\xfcr" + b" \xbbSpa\xdf\xab" * 3}),
                       files({"a.txt": "éé".encode() + b"\xe9\xe9"})),
    "mission-types": (files({"missions/M.mis": b"new SimGroup();", **GRAPH}),
                      files({"missions/M.mis": MISSION, **GRAPH})),
    "mission-terrain": (files({"missions/M.mis": MISSION}),
                        files({"missions/M.mis": MISSION.replace(b"M.ter", b"Stock.ter")})),
    "unsafe-name": ([Entry("../up")], [Entry("up..txt")],
                    *([Entry(name)] for name in ("/abs", "C:/w", "a/con", "a\x01b")),
                    [Entry("ok"), Entry("ok/a.txt")]),
    "unbalanced": (files({"a.cs": b"function f() { if (1) { }\n"}),
                   files({"a.cs": b"f(\"(\\\"\", '{') ; // ] it's\n"})),
}


def run(arguments, **options):
    return subprocess.run([*PROGRAM, *arguments], stdin=subprocess.DEVNULL, capture_output=True, cwd=FOLDER,
                          timeout=120, check=False, **options)


def split(line):
    return [part.strip("'") for part in line.split(" ") if part]


class Vl2(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        shutil.rmtree(FOLDER, ignore_errors=True)
        FOLDER.mkdir(parents=True)
        self.write("a.vl2", archive(FILES))
        self.write("c.vl2", archive(FILES))
        self.write("one.vl2", archive(FILES[:1]))
        self.write("b.vl2", archive([FILES[0], Entry("scripts/b.cs", b"caf\xe9 flags\n"),
                                     Entry("scripts/d.cs", "café mark\n".encode()), Entry("new.cs", b"1\n")]))
        self.write("bad.vl2", archive([Entry("a.cs", b"good\n"), Entry("b.cs", b"bad\n", both=dict(crc=1))]))
        self.write("slow.vl2", archive([Entry("a.txt", b"a" * 99 + b"!\n")]))
        self.write("hurt.vl2", archive([Entry("a.cs", b"f(\n"), Entry("b.cs", b"bad\n", both=dict(crc=1)),
                                        Entry("c.png", b"bad\n", both=dict(crc=1))]))
        self.write("marks.vl2", archive([Entry("a\n\"b.cs", b"\xef\xbb\xbff(\n")]))
        self.write("empty.vl2", archive([]))
        self.write("long.vl2", archive([Entry("a.txt", b"a" * (1 << 16) + b"needle\n", 8)]))
        self.write("huge.vl2", archive([Entry("a.txt", b"a" * (20 << 20) + b"\nneedle\n", 8)]))
        self.write("mission.vl2", archive(files({"missions/M.mis": MISSION})))
        self.write("terrain.vl2", archive(files({"Terrains/m.ter": b""})))
        self.write("a.git.vl2", archive([Entry("Thumbs.db")]))
        self.write("names.vl2", archive([Entry(name, b"x") for name in
                                         ("[CTF]Map.mis", "Car.mis", "Tap.mis", "*.mis", "[x]", "x")]))
        self.write("hidden.vl2", archive([Entry(".git/HEAD", b"y\n")]))
        for name in ("dots/a.cs", "dots/a.cs~", "dots/.git/HEAD"):
            self.write(name, b"x\n")
        self.write("b-to-a/b", b"x\n")
        self.write("left/a", b"x\n")
        for name in ("twins/a.txt", "twins/A.TXT", "mixed/a", "mixed/A/b.txt", "left/none/"):
            (self.write(name, b"x") if name[-1] != "/" else (FOLDER / name).mkdir())
        self.write("text.txt", b"text\n")
        self.write("tree/scripts/a.cs", SCRIPT)

    def write(self, name, data, moment=1_000_000_001):
        path = FOLDER / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        os.utime(path, (moment, moment))

    def nothing_left(self):
        self.assertEqual([path for path in FOLDER.rglob(".orvel-*")], [])

    def wait_until_caught(self, process, number):
        """Waits until the process has set its handler of a signal."""
        for _ in range(60000):
            caught = re.search(r"SigCgt:\s*(\w+)", Path("/proc/%d/status" % process.pid).read_text())
            if int(caught[1], 16) >> (number - 1) & 1:
                return
            time.sleep(0.001)
        self.fail("the process never catches signal %d" % number)

    def test_the_table(self):
        for line, code, out, error in ROWS:
            with self.subTest(line):
                done = run(split(line))
                said = done.stdout.decode("latin-1" if re.search("- scripts|-u ", line) else "utf-8")
                self.assertEqual(done.returncode, code, done)
                self.assertRegex(said, re.compile(r"\A%s\Z" % out, re.S))
                self.assertRegex(done.stderr.decode(), error or r"\A\Z")
                self.assertLessEqual(len(done.stderr.splitlines()), 2)
                self.assertEqual(len(set(done.stderr.splitlines())), len(done.stderr.splitlines()), done)
                self.nothing_left()

    def test_each_rule_finds_its_sample_only(self):
        known = set(re.findall(r"^  ([a-z0-9-]+) +(?:error|warning|note) ",
                               run(["check", "--help"]).stdout.decode(), re.M))
        self.assertEqual(known, set(RULES) | {"near-2gib"})
        for code, (bad, good, *others) in RULES.items():
            for entries in (bad, good, *others):
                name = "rule.vl2"
                self.write(name, archive(entries))
                with self.subTest(code, sample=entries[0].name):
                    done = run(["check", "--json", name])
                    found = {finding["code"]: finding for finding in map(json.loads, done.stdout.splitlines())}
                    self.assertEqual(code in found, entries is not good, done)
                    grave = any(finding["severity"] != "note" for finding in found.values())
                    self.assertEqual(done.returncode, 1 if grave else 0)
                    if code in ("folder-entry", "mission-graph"):
                        self.assertTrue("entry" in found.get(code, ["entry"]), done)
        with open(FOLDER / "large.vl2", "wb") as sparse:  # an empty archive behind 2 GiB of nothing
            sparse.truncate(1 << 31)
            sparse.seek(0, 2)
            sparse.write(archive([]))
        self.assertIn(b"near-2gib", run(["check", "large.vl2"]).stdout)
        (FOLDER / "large.vl2").unlink()

    def test_archives_that_are_written_are_as_asked_for(self):
        def content(name="c.vl2"):
            with zipfile.ZipFile(FOLDER / name) as source:
                self.assertIsNone(source.testzip())
                return {info.filename: source.read(info) for info in source.infolist()}

        before = content()
        self.assertEqual(run(["rename", "c.vl2", "scripts/a.cs", "scripts/längst.cs"]).returncode, 0)
        before["scripts/längst.cs"] = before.pop("scripts/a.cs")
        self.assertEqual(content(), before)
        self.assertEqual(list(content())[0], "scripts/längst.cs")
        self.assertEqual(run(["rename", "c.vl2", "scripts/", "code/"]).returncode, 0)
        self.assertEqual(run(["remove", "c.vl2", "code/?.cs", "*.png"]).returncode, 0)
        self.assertEqual(content(), {"code/längst.cs": SCRIPT})
        self.write("tree/code/längst.cs", b"edited\n")
        self.assertEqual(run(["save", "c.vl2", "tree"]).returncode, 0)
        self.assertEqual(content(), {"code/längst.cs": b"edited\n", "scripts/a.cs": SCRIPT})
        self.assertEqual(run(["extract", "c.vl2", "-C", "out"]).returncode, 0)
        self.assertEqual((FOLDER / "out/code/längst.cs").read_bytes(), b"edited\n")
        self.nothing_left()

    def test_a_build_depends_on_the_files_only(self):
        for name in ("tree/B.txt", "tree/a/é.txt", "tree/a.txt", "tree/.git/HEAD", "tree/a/old.bak"):
            self.write(name, b"%s " % name.encode() * 999)
        FOLDER.chmod(0o777)  # for the other user
        for zone, language, options in (("UTC", "C", {}), ("Asia/Tokyo", "de_DE.UTF-8", {}),
                                        ("America/St_Johns", "C.UTF-8", OTHER_USER)):
            name = "built-%s.vl2" % zone.replace("/", "-")
            # By the language, Wine reads the names on the disk.
            env = {**os.environ, "TZ": zone, "LC_ALL": "C.UTF-8" if WINE else language,
                   "ORVEL_WORKERS": "1" if zone == "UTC" else "4"}
            self.assertEqual(run(["build", "tree", name], env=env, **options).returncode, 0)
            self.assertEqual((FOLDER / name).read_bytes(), (FOLDER / "built-UTC.vl2").read_bytes())
        for native in ROOT.glob("build/dev/bin/orvel-vl2") if WINE else ():
            subprocess.run([native, "build", "--check", "tree", name], cwd=FOLDER, check=True)
        with zipfile.ZipFile(FOLDER / name) as built:
            self.assertEqual(built.namelist(), ["B.txt", "a.txt", "a/é.txt", "scripts/a.cs"])
            for info in built.infolist():
                self.assertEqual((info.date_time, info.extra, info.comment, info.external_attr),
                                 ((2001, 9, 9, 1, 46, 42), b"", b"", 0))
        stamp = (FOLDER / name).stat()
        self.assertEqual(run(["build", "tree", name]).returncode, 0)
        self.assertEqual((FOLDER / name).stat().st_ino, stamp.st_ino)
        self.assertEqual(run(["build", "--check", "tree", name]).returncode, 0)
        fixed = {**os.environ, "SOURCE_DATE_EPOCH": "86400000"}
        self.assertEqual(run(["build", "--check", "tree", name], env=fixed).returncode, 1)
        self.assertEqual((FOLDER / name).stat().st_mtime_ns, stamp.st_mtime_ns)
        self.assertEqual(run(["build", "tree", name], env=fixed).returncode, 0)
        done = run(["build", "tree", name], env={**os.environ, "SOURCE_DATE_EPOCH": "9" * 30})
        self.assertEqual((done.returncode, b"too large" in done.stderr), (2, True))
        with zipfile.ZipFile(FOLDER / name) as built:
            self.assertEqual(built.getinfo("B.txt").date_time, (1980, 1, 1, 0, 0, 0))
        self.nothing_left()

    def test_grep_finds_a_plain_text_at_every_offset(self):
        # The other word has the same first, middle and last letter.
        lines = ["x" * i + ("needle" if i % 3 == 0 else "nexdxe") for i in range(300)]
        self.write("c.vl2", archive([Entry("a.txt", "\n".join(lines).encode(), 8)]))
        found = run(["grep", "-F", "needle", "c.vl2", "--json"]).stdout.splitlines()
        self.assertEqual([json.loads(line)["line"] for line in found], list(range(1, 301, 3)))

    def test_hostile_archives_end_every_command_that_reads(self):
        before = {path.name for path in FOLDER.iterdir()}
        for path in HOSTILE:
            for command in (["list", "-l"], ["test"], ["grep", "e"], ["check"], ["diff", "a.vl2"],
                            ["extract", "-C", "inner/out"]):
                with self.subTest(path.name, command=command[0]):
                    shutil.copy(path, FOLDER / "hostile.vl2")
                    done = run([*command, "hostile.vl2"])
                    if b"not enough room" not in done.stderr:
                        self.assertIn(done.returncode, (0, 1, 3), done)
                    self.assertNotIn(b"memory", done.stderr)
                    if command[0] == "extract":
                        inside = {FOLDER / "inner", FOLDER / "inner/out"}
                        self.assertLessEqual(set((FOLDER / "inner").glob("*")), inside)
                        shutil.rmtree(FOLDER / "inner", ignore_errors=True)
        self.assertEqual({path.name for path in FOLDER.iterdir()} - {"hostile.vl2"}, before)

    def test_the_game_is_searched_by_the_order_of_names(self):
        game = FOLDER / "game"
        for name in ("B.vl2", "a.vl2"):
            self.write("game/GameData/base/" + name, archive([Entry("scripts/x.cs", name.encode() + b" word\n")]))
        self.write("game/GameData/base/Scripts/X.cs", b"loose\n")
        self.write("game/GameData/base/Same.vl2", archive(files({"top.txt": b"1\n", "s/same.cs": b"same\n"})))
        self.write("game/GameData/base/s/same.cs", b"same\n")
        self.write("game/GameData/base/top.txt", b"2\n")
        for name in ("z.vl2", "same.VL2"):  # the archives themselves are no loose files
            self.write("game/GameData/mod/" + name, archive([Entry("other.cs", b"word\n")]))
        env = {**os.environ, "XDG_CONFIG_HOME": str(FOLDER / "config"), "HOME": str(FOLDER),
               "WINEPREFIX": os.environ.get("WINEPREFIX") if WINE else str(FOLDER / "none")}
        register = [*PROGRAM[:-1], PROGRAM[-1].replace("orvel-vl2", "orvel-reg")]
        place = "Z:" + str(game) if WINE else str(game)
        subprocess.run([*register, "add", GAME_KEY, "directory", place], env=env, check=True, capture_output=True)

        def winners(*arguments):
            done = run([*arguments, "--json"], env=env)
            lines = [json.loads(line) for line in done.stdout.splitlines()]
            return done.returncode, [re.split(r"[\\/]", line["holders"][line["wins"]]["source"])[-1]
                                     for line in lines]

        self.assertEqual(winners("where", "SCRIPTS\\x.CS"), (0, ["X.cs"]))
        self.assertEqual(winners("where", "scripts/x.cs", "--loose", "lose"), (0, ["B.vl2"]))
        self.assertEqual(winners("where", "other.cs"), (1, []))
        self.assertEqual(winners("where", "other.cs", "--mod", "MOD", "--mod", "base"), (0, ["z.vl2"]))
        twice = run(["where", "scripts/x.cs", "--mod", "Base"], env=env).stdout
        self.assertEqual(twice, run(["where", "scripts/x.cs"], env=env).stdout)
        self.assertEqual(winners("where", "Top.txt"), (0, ["top.txt"]))
        for mods in ([], ["--mod", "mod"]):
            self.assertEqual(winners("conflicts", *mods), (1, ["X.cs", "top.txt"]))
        found = run(["grep", "word"], env=env).stdout.decode()
        self.assertEqual(re.findall(r"(\w+)\.vl2:", found), ["a", "B"])
        self.assertIn("win", run(["conflicts"], env=env).stdout.decode().splitlines()[0])

    @unittest.skipIf(WINE, "signals and devices of POSIX")
    def test_closed_pipes_full_disks_and_signals_end_with_code_4(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([*PROGRAM, "list", "a.vl2"], cwd=FOLDER, stdout=full, stderr=subprocess.PIPE,
                                  check=False)
        self.assertEqual((done.returncode, done.stderr.count(b"\n")), (4, 1))
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run([*PROGRAM, "list", "a.vl2"], cwd=FOLDER, stdout=writer, stderr=subprocess.PIPE,
                              check=False)
        os.close(writer)
        self.assertEqual(done.returncode, 4)
        self.assertIn(b"Broken pipe", done.stderr)
        self.write("big/noise.wav", os.urandom(32 << 20))
        self.write("big.vl2", archive(FILES))
        before = (FOLDER / "big.vl2").read_bytes()
        for wait in (None, 0, 0.02, 0.05, 0.1, 0.2, 0.3):
            (FOLDER / "big.vl2").write_bytes(before)
            process = subprocess.Popen([*PROGRAM, "build", "big", "big.vl2"], cwd=FOLDER, stderr=subprocess.PIPE,
                                       preexec_fn=end_by_signals)
            if wait is not None:
                self.wait_until_caught(process, signal.SIGHUP)
                time.sleep(wait)
            for _ in range(5):  # a second one comes while the first one is handled
                process.send_signal(signal.SIGINT if wait != 0 else signal.SIGHUP)
            error = process.communicate(timeout=60)[1]
            # One that comes before they are caught ends the process, one that comes late may find it done.
            codes = {None: (0, 4, -signal.SIGINT), 0: (4,)}
            self.assertIn(process.returncode, codes.get(wait, (0, 4)))
            if process.returncode != 0:
                self.assertEqual((FOLDER / "big.vl2").read_bytes(), before)
            if process.returncode == 4:
                self.assertEqual(error, b"orvel-vl2: interrupted\n")
            self.nothing_left()
        # Once the new archive has the name, an interruption comes too late. A slow disk leaves time for it.
        slow = ["strace", "-D", "-f", "-o", "/dev/null", "-e", "trace=fsync", "-e", "inject=fsync:delay_exit=100000"]
        if SANITIZED or shutil.which("strace") is None or subprocess.call([*slow, "true"], stderr=subprocess.DEVNULL) != 0:
            print("refused by this machine: strace")
            slow = []
        for i in range(3):
            number = (FOLDER / "one.vl2").stat().st_ino
            process = subprocess.Popen([*slow, *PROGRAM, "rename", "one.vl2", "scripts/a.cs" if i == 0 else str(i),
                                        str(i + 1)], cwd=FOLDER)
            while (FOLDER / "one.vl2").stat().st_ino == number and process.poll() is None:
                time.sleep(0.001)
            process.terminate()
            self.assertEqual(process.wait(60), 0)
        self.write("one.vl2", archive(FILES[:1]))
        done = run(["build", "big", "big.vl2"],
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20)))
        self.assertEqual((done.returncode, done.stderr.count(b"\n")), (4, 1), done)
        self.nothing_left()
        os.mkfifo(FOLDER / "tree/pipe")
        for command in (["check", "tree"], ["diff", "tree", "tree"]):
            done = run(command)
            self.assertEqual(done.returncode, 1, done)
            self.assertIn(b"pipe", done.stderr)
        (FOLDER / "tree/pipe").unlink()
        if OTHER_USER:
            for target in (".", "missing"):  # neither may be written to by the other user
                done = run(["extract", "one.vl2", "-C", target], **OTHER_USER)
                self.assertEqual((done.returncode, done.stderr.count(b"\n")), (4, 1), done)
                self.assertRegex(done.stderr, b"one.vl2|missing")

    @unittest.skipIf(WINE, "limits of POSIX")
    def test_a_search_keeps_little_in_memory(self):
        self.write("lines.vl2", archive([Entry(name, b"many a needle in a hay stack\n" * (2 << 20), 8)
                                         for name in ("b.txt", "a.txt")]))
        with subprocess.Popen([*PROGRAM, "grep", "needle", "lines.vl2"], cwd=FOLDER, stdout=subprocess.PIPE) as found:
            self.assertEqual(found.stdout.readline(), b"lines.vl2:b.txt:1:many a needle in a hay stack\n")
            count, peaks = 1, []
            while data := found.stdout.read(1 << 20):
                count += data.count(b"\n")
                peaks += re.findall(r"VmHWM:\s*(\d+)", Path("/proc/%d/status" % found.pid).read_text())
        self.assertEqual((found.returncode, count), (0, 4 << 20))
        self.assertLess(max(map(int, peaks)), 1 << 20 if SANITIZED else 64 << 10)

    @unittest.skipIf(WINE, "programs of POSIX")
    def test_a_unified_difference_can_be_applied(self):
        old = {"bom.cs": b"x\n", "ends.cs": b"a\r\nb\r\n", "letters.txt": b"caf\xe9\r\n", "last.txt": b"a\nb",
               "my file.txt": b"1\n2\n3\n", "gone.txt": b"g\n", "same.txt": b"s\n", "moved.txt": b"moved\n"}
        new = {"bom.cs": b"\xef\xbb\xbfx\n", "ends.cs": b"a\nb\n", "letters.txt": "café\r\n".encode(),
               "last.txt": b"a\nb\n", "my file.txt": b"1\n2\n3", "new.txt": b"n", "same.txt": b"s\n",
               "to.txt": b"moved\n"}
        for name, content in {"old": old, "new": new}.items():
            self.write(name + ".vl2", archive(files({**content, "x.png": b"\x89PNG\0" + name.encode()})))
        done = run(["diff", "-u", "old.vl2", "new.vl2"])
        self.assertEqual((done.returncode, done.stderr), (1, b""))
        expected = {**new, "moved.txt": b"moved\n"}
        del expected["to.txt"]
        for tool in (["patch", "-p1", "--binary", "-s"], ["git", "apply", "-p1"]):
            if shutil.which(tool[0]):
                for name, content in old.items():
                    self.write(tool[0] + "/" + name, content)
                # Git takes a folder in a repository for a part of it.
                subprocess.run(tool, input=done.stdout, cwd=FOLDER / tool[0], check=True,
                               env={**os.environ, "GIT_DIR": "none"})
                self.assertEqual({path.name: path.read_bytes() for path in (FOLDER / tool[0]).iterdir()}, expected)

    @unittest.skipIf(WINE or shutil.which("bash") is None, "shells of POSIX")
    def test_shells_complete_commands_options_and_values(self):
        script = run(["--generate", "bash"]).stdout.decode()
        for line, expected in (("wh", ["where"]), ("where --lo", ["--loose"]), ("where --loose ", ["win", "lose"]),
                               ("--json where --loose = l", ["lose"]), ("--json che", ["check"]),
                               ("check --ignore mixed", ["mixed-encoding"]), ("list a", [])):
            words = ["orvel-vl2", *line.split(" ")]
            call = "_orvel_vl2 orvel-vl2 '%s' '%s'; echo ${COMPREPLY[@]}" % (words[-1], words[-2])
            done = subprocess.run(["bash", "-c", "%s\nCOMP_WORDS=(%s) COMP_CWORD=%d\n%s" % (
                script, " ".join("'%s'" % word for word in words), len(words) - 1, call)],
                capture_output=True, check=True)
            self.assertEqual(done.stdout.decode().split(), expected, line)


unittest.main(argv=sys.argv[:1])
