"""Prints the tests that ctest skipped and the reasons, at the end of scripts/test.

usage: skipped.py RESULTS

RESULTS is the file of ctest's --output-junit. A test that skips some cases prints the reason in a
line that begins with "needs root:" or "refused by this machine:", and may pass otherwise. For a
skipped test without such a line, the last line of its output is the reason.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree

REASON = re.compile(r"^(needs root|refused by this machine): *(.*)$", re.M)
GTEST = re.compile(r": Skipped\n(.*)")


def reasons(results):
    """Returns (reason, test, details) of each skipped test or case, sorted by reason."""
    found = []
    for case in ElementTree.parse(results).getroot().iter("testcase"):
        name, output = case.get("name"), case.findtext("system-out") or ""
        if lines := REASON.findall(output):
            found += [(reason, name, details) for reason, details in lines]
        elif case.find("skipped") is not None:
            lines = GTEST.findall(output) or output.split("\n")
            found.append(("other reasons", name, next(filter(None, map(str.strip, reversed(lines))), "")))
    return sorted(found, key=lambda each: each[0])


if __name__ == "__main__":
    for reason, name, details in reasons(sys.argv[1]):
        print(f"skipped, {reason}: {name} ({details})")
