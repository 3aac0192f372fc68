"""Every link in the documents has a target, every picture is shown, and the layers are as drawn."""

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

    def test_the_sources_include_only_along_the_arrows(self):
        text = (ROOT / "docs" / "architecture.md").read_text("utf-8")
        drawing = re.search(r"^```layers\n(.*?)^```", text, re.M | re.S)[1]
        arrows = [line.split("->") for line in drawing.splitlines()]
        below = {layer.strip(): targets.split() for layer, targets in arrows}
        order = list(below)
        for layer, targets in below.items():
            for target in targets:
                self.assertGreater(order.index(target), order.index(layer), f"{layer} -> {target}")

        def layer_of(path):
            folder = re.sub(r"/(posix|windows)$", "", str(Path(path).parent))
            return folder if folder in below else None

        used = set()
        tops = {layer.partition("/")[0] for layer in below}
        sources = [path for top in tops for path in (ROOT / top).rglob("*.[ch]*")]
        self.assertGreater(len(sources), 100)
        for path in sources:
            name = path.relative_to(ROOT)
            layer = layer_of(name)
            self.assertIsNotNone(layer, name)
            for header in re.findall(r'#include "(.+?)"', path.read_text("utf-8")):
                target = layer_of(header)
                if target != layer:
                    used.add((layer, target))
                    self.assertIn(target, below[layer], f"{name} includes {header}")
        drawn = {(layer, target) for layer, targets in below.items() for target in targets}
        self.assertEqual(drawn - used, set(), "drawn, but not used")


unittest.main()
