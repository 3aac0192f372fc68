"""The closing list of scripts/test tells what ctest skipped, and why."""

import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts" / "lib"))
from skipped import reasons  # noqa: E402

RESULTS = """<testsuite>
<testcase name="all" status="run"><system-out>1 test, OK</system-out></testcase>
<testcase name="disk" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/>
<system-out>3 faults
needs root: full disk (mount), immutable file (chattr)
</system-out></testcase>
<testcase name="most" status="run"><system-out>refused by this machine: one case
OK (skipped=1)</system-out></testcase>
<testcase name="unit" status="notrun"><skipped message=""/><system-out>[ RUN      ] A.B
a.cpp:9: Skipped
there are no links here

[  SKIPPED ] A.B (0 ms)</system-out></testcase>
<testcase name="wine" status="notrun"><skipped/><system-out>wine is not installed
</system-out></testcase>
</testsuite>"""


class Skipped(unittest.TestCase):
    def test_each_test_that_left_something_out_is_listed_with_its_reason(self):
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(RESULTS)
            file.flush()
            self.assertEqual(reasons(file.name), [
                ("needs root", "disk", "full disk (mount), immutable file (chattr)"),
                ("other reasons", "unit", "there are no links here"),
                ("other reasons", "wine", "wine is not installed"),
                ("refused by this machine", "most", "one case"),
            ])


unittest.main()
