"""The program on the accessibility bus, as a screen reader sees it."""

import os
import sys
from pathlib import Path

try:
    import gi
except ImportError:
    # The distribution's Python may have it if another one comes first.
    if sys.executable == "/usr/bin/python3" or not Path("/usr/bin/python3").exists():
        print("Skipped: Python's gi is not installed (scripts/setup display)")
        sys.exit(77)
    os.execv("/usr/bin/python3", ["/usr/bin/python3", *sys.argv])

from screen import Missed


def role_of(item):
    """The role of a control; newer buses have another name for a button."""
    name = item.get_role_name()
    return "push button" if name == "button" else name


class Bus:
    def __init__(self):
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi

        self.states, self.relations = Atspi.StateType, Atspi.RelationType
        self.desktop = Atspi.get_desktop(0)
        self.desktop.set_cache_mask(Atspi.Cache.NONE)  # every question gets the current state

    @staticmethod
    def children(item):
        found = (item.get_child_at_index(number) for number in range(item.get_child_count()))
        return [child for child in found if child is not None]

    def below(self, item):
        for child in self.children(item):
            yield child
            yield from self.below(child)

    def window(self, title, role=None):
        """A window of the program by the beginning of its title."""
        windows = (item for program in self.children(self.desktop) for item in self.children(program))
        found = (item for item in windows if item.get_name().startswith(title))
        return next((item for item in found if role in (None, role_of(item))), None)

    def has(self, item, state):
        return item.get_state_set().contains(getattr(self.states, state))

    @staticmethod
    def described(item):
        return role_of(item), item.get_name(), item.get_description() or ""

    def focused(self, window):
        """The control with the keyboard focus: the tree rather than its item."""
        for item in self.below(window):
            if self.has(item, "FOCUSED") and role_of(item) not in ("table cell", "list item"):
                return self.described(item)
        return None

    def labels(self, window):
        """Role and name of the control that each label belongs to, by the label's name."""
        return {
            item.get_name(): self.described(relation.get_target(0))[:2]
            for item in self.below(window)
            for relation in item.get_relation_set()
            if role_of(item) == "label" and relation.get_relation_type() == self.relations.LABEL_FOR
        }

    def check_names(self, window):
        """Every control has a name and a role."""
        for item in [window, *self.below(window)]:
            role = role_of(item)
            assert item.get_name() and role not in ("filler", "unknown", "invalid"), self.described(item)


class Person:
    """A user of the keyboard and a screen reader."""

    def __init__(self, screen, bus):
        self.screen, self.bus = screen, bus

    def window(self, title, role=None):
        return self.screen.wait(f"{title} on the bus", lambda: self.bus.window(title, role))

    def walk(self, window, stops):
        """Tab passes all stops in order and starts over, and the focus is visible at each."""
        seen = []
        for stop in [*stops, stops[0]]:
            self.reach(window, stop)
            seen.append(self.screen.settle())
            self.screen.key("Tab")
        for stop, before, after in zip(stops, seen, seen[1:]):
            assert before != after, f"{stop} looks the same with the keyboard and without"
        self.screen.key("shift+Tab")
        self.reach(window, stops[0])

    def reach(self, window, stop):
        try:
            self.screen.wait("the keyboard", lambda: self.bus.focused(window) == stop, 5)
        except Missed as missed:
            raise Missed(f"not {stop} but {self.bus.focused(window)}: {missed}") from missed
