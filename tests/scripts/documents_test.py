"""Every link in the documents has a target, and every picture is shown."""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
DOCUMENTS = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]


def anchor(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Documents(unittest.TestCase):
    def test_every_link_leads_somewhere(self):
        for document in DOCUMENTS:
            text = document.read_text("utf-8")
            headings = {anchor(line) for line in re.findall(r"^#+ (.*)$", text, re.M)}
            links = re.findall(r"\]\(([^)\s]+)\)", text) + re.findall(r'src="([^"]+)"', text)
            links += [part.split()[0] for group in re.findall(r'srcset="([^"]+)"', text)
                      for part in group.split(",")]
            for link in links:
                path, _, place = link.partition("#")
                if "://" in link:
                    continue
                with self.subTest(document.name, link=link):
                    self.assertTrue((document.parent / path).exists())
                    self.assertTrue(path or place in headings)

    def test_every_picture_is_shown(self):
        text = "".join(document.read_text("utf-8") for document in DOCUMENTS)
        for picture in (ROOT / "docs" / "images").glob("*.png"):
            self.assertIn(f"images/{picture.name}", text)


unittest.main()
