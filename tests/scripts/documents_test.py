"""What the documents point to is there, and what they quote the program says."""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
DOCUMENTS = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]
SPEAKERS = ("workspace", "config", "ziplib", "platform")
SOURCES = [path for folder in SPEAKERS for path in (ROOT / folder).rglob("*.cpp")]


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

    def test_the_guide_quotes_the_program(self):
        program = re.sub(r'"\s*\n\s*"', "", "".join(path.read_text() for path in SOURCES))
        # What is said only where nothing better is known is nothing to look up.
        program = re.sub(r'Meaning{.*', "", program)
        guide = (ROOT / "docs" / "guide.md").read_text("utf-8")
        failures = guide.partition("## When something fails")[2].partition("\n## ")[0]
        quotes = re.findall(r'^\*\*"(.+?)"\*\*', failures, re.M)
        quotes += re.findall(r"^\| (?!The message)(\w.+?) \|", failures, re.M)
        self.assertGreater(len(quotes), 6)
        for quote in quotes:
            for part in filter(None, re.split(r"\s*(?:\.\.\.|:)\s*", quote)):
                if part != "the message says":
                    self.assertTrue(part in program, part)


unittest.main()
