"""A separate folder for a run of Orvel: settings, a sample game, a stand-in editor."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "sample"))
from archives import make_game  # noqa: E402

GAME_KEY = r"SOFTWARE\Sierra Online\Setup\Tribes2"
OWN_KEY = r"SOFTWARE\Voxhollow\Game Editors\Tribes2\Orvel"


# KDE colour groups: background, text.
DARK = {
    "Window": ("42,46,50", "252,252,252"),
    "View": ("27,30,32", "252,252,252"),
    "Button": ("49,54,59", "252,252,252"),
    "Selection": ("61,174,233", "252,252,252"),
    "Tooltip": ("49,54,59", "252,252,252"),
}


class Sandbox:
    """All files that Orvel reads and writes, in one folder. `programs` contains the executables."""

    def __init__(self, folder, programs):
        self.folder = Path(folder).resolve()
        self.programs = Path(programs).resolve()
        shutil.rmtree(self.folder, ignore_errors=True)
        home = self.folder / "home"
        home.mkdir(parents=True)
        self.environment = {
            **os.environ,
            "HOME": str(home),
            "XDG_CONFIG_HOME": str(home / ".config"),
            "XDG_DATA_HOME": str(home / ".local" / "share"),
            "WINEPREFIX": str(home / ".wine"),
        }
        self.editor = self.folder / "tools" / "stand-in-editor"
        self.editor.parent.mkdir()
        shutil.copy(Path(__file__).resolve().parent / "stand-in-editor", self.editor)

    def set(self, key, name, text):
        """Stores a setting with orvel-reg."""
        command = [str(self.programs / "orvel-reg"), "add", key, name, str(text)]
        subprocess.run(command, env=self.environment, check=True)

    def get(self, key, name):
        command = [str(self.programs / "orvel-reg"), "query", key, name]
        answer = subprocess.run(
            command, env=self.environment, check=True, capture_output=True, text=True
        )
        return answer.stdout.rstrip("\n")

    def install_game(self):
        """Creates and registers the sample game. Returns the folder of its archives."""
        base = make_game(self.folder / "game")
        self.set(GAME_KEY, "directory", self.folder / "game")
        return base

    def use_stand_in_editor(self):
        for kind in ("Text", "PNG"):
            self.set(OWN_KEY + r"\Programs", kind, self.editor)

    def use_dark_colours(self):
        """Configures a desktop with dark colours."""
        groups = [
            f"[Colors:{name}]\nBackgroundNormal={ground}\nForegroundNormal={text}\n"
            for name, (ground, text) in DARK.items()
        ]
        settings = Path(self.environment["XDG_CONFIG_HOME"]) / "kdeglobals"
        settings.parent.mkdir(exist_ok=True)
        settings.write_text("\n".join(groups))
        self.environment.update(
            {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "5"}
        )

    def work_folders(self):
        """The parent of the work folders, from the program's settings."""
        return Path(self.get(OWN_KEY, "tempdir").replace("\\", "/"))

    def edited_files(self):
        """The files that the stand-in editor has changed so far."""
        log = self.editor.parent / "stand-in-editor.log"
        return [Path(line) for line in log.read_text().splitlines()] if log.exists() else []
