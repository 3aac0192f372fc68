"""Prints what ctest skipped, and why, as the closing list of scripts/test.

usage: skipped.py RESULTS

RESULTS is what ctest's --output-junit wrote. A test that could not do everything says why in a line
that begins with "needs root:" or "refused by this machine:"; it may have passed with the rest. A
skipped test that has no such line is listed with the last line that it printed.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree

SAID = re.compile(r"^(needs root|refused by this machine): *(.*)$", re.M)
GTEST = re.compile(r": Skipped\n(.*)")


def reasons(results):
    """(reason, test, details) of everything that was skipped, what needs root first."""
    found = []
    for case in ElementTree.parse(results).getroot().iter("testcase"):
        name, output = case.get("name"), case.findtext("system-out") or ""
        if lines := SAID.findall(output):
            found += [(reason, name, what) for reason, what in lines]
        elif case.find("skipped") is not None:
            said = GTEST.findall(output) or output.split("\n")
            found.append(("other reasons", name, next(filter(None, map(str.strip, reversed(said))), "")))
    return sorted(found, key=lambda each: each[0])


if __name__ == "__main__":
    for reason, name, details in reasons(sys.argv[1]):
        print(f"skipped, {reason}: {name} ({details})")
