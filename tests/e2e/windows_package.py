"""The packages of the Windows program: their files, and what the installer leaves behind."""

import re
import subprocess
import zipfile

FILES = {"orvel.exe", "orvel-reg.exe", "orvel-vl2.exe", "vl2uzip.dll", "vl2zip.dll",
         "LICENSE.txt", "LICENCES.txt"}
LICENCES = {
    "Qt-LGPL-3.txt", "Qt-GPL-3.txt", "Qt-copyright.txt", "PCRE2.txt", "PNG.txt", "JPEG.txt",
    "zlib.txt", "libdeflate.txt", "CLI11.txt", "nlohmann-json.txt", "GCC-copyright.txt", "mingw-w64.txt",
}
REMOVAL = "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Orvel"
CLASSES = "HKCU\\Software\\Classes"


class Packages:
    """The zip and the installer, made anew from a build."""

    def __init__(self, build, folder):
        self.folder = folder
        command = ["cpack", "--config", build / "CPackConfig.cmake", "-B", folder]
        subprocess.run(command, cwd=build, check=True, stdout=subprocess.DEVNULL)
        (self.zip,) = folder.glob("*.zip")
        (self.installer,) = folder.glob("*.exe")

    def unpack(self):
        """Unpacks the zip and checks that it is complete. Returns its folder."""
        with zipfile.ZipFile(self.zip) as archive:
            archive.extractall(self.folder / "unpacked")
        (program,) = (self.folder / "unpacked").iterdir()
        found = {str(path.relative_to(program)) for path in program.rglob("*") if path.is_file()}
        assert found == FILES | {f"licences/{name}" for name in LICENCES}, found
        overview = (program / "LICENCES.txt").read_text()
        for name in LICENCES:
            assert name in overview, f"LICENCES.txt does not name {name}"
        assert not re.search(r"@\w+@|, \)", overview), overview
        for path in [*program.glob("*.exe"), *program.glob("*.dll")]:
            self.check_needs(path)
        return program

    @staticmethod
    def check_needs(path):
        """It needs no libraries but those of Windows."""
        told = subprocess.check_output(["x86_64-w64-mingw32-objdump", "-p", path], text=True)
        needed = set(re.findall(r"DLL Name: (\S+)", told))
        assert needed, path
        foreign = {name for name in needed if re.match(r"(?i)lib|qt|vl2|.*gcc", name)}
        assert not foreign, f"{path.name} needs {foreign}"


class Installation:
    """Orvel as the installer puts it into a Wine prefix."""

    def __init__(self, wine, folder, told):
        """`folder` is its place on the machine, `told` the same in the form of Windows."""
        self.wine, self.folder, self.told = wine, folder, told

    def install(self, packages, expected):
        self.wine("reg", "add", CLASSES + "\\.vl2", "/ve", "/d", "Former.Program", "/f")
        self.wine("reg", "add", "HKCU\\Environment", "/v", "Path", "/d", "C:\\mine", "/f")
        self.wine(packages.installer, "/S", "/PATH", "/D=" + self.told)
        assert self.path() == "C:\\mine;" + self.told
        for path in expected.rglob("*"):
            if path.is_file():
                installed = self.folder / path.relative_to(expected)
                assert installed.read_bytes() == path.read_bytes(), installed
        assert self.told in self.wine("reg", "query", REMOVAL, "/v", "InstallLocation")
        assert self.opener("x")[0] == self.told + "\\orvel.exe"

    def path(self):
        """The user's PATH."""
        said = self.wine("reg", "query", "HKCU\\Environment", "/v", "Path")
        return re.search(r"REG_\w+\s+(.*\S)", said)[1]

    def opener(self, file):
        """The command of Windows for a .vl2 file. Wine ignores the types of a user by itself."""
        told = self.wine("reg", "query", CLASSES + "\\.vl2", "/ve")
        kind = re.search(r"REG_SZ\s+(\S+)", told)[1]
        key = CLASSES + "\\" + kind + "\\shell\\open\\command"
        command = re.search(r"REG_SZ\s+(.*\S)", self.wine("reg", "query", key, "/ve"))[1]
        return [part.replace("%1", file) for part in re.findall(r'"([^"]*)"', command)]

    def refuse_while_running(self):
        before = sorted(self.folder.rglob("*"))
        self.wine(self.folder / "uninstall.exe", "/S", "_?=" + self.told, fails=True)
        assert sorted(self.folder.rglob("*")) == before
        self.wine("reg", "query", REMOVAL)

    def remove(self, wait):
        """Only the user's files in the program's folder stay."""
        work = self.folder / "temp" / "Mine" / "edited.cs"
        work.parent.mkdir(parents=True, exist_ok=True)
        work.write_bytes(b"mine")
        self.wine(self.folder / "uninstall.exe", "/S")
        # It continues as a copy, since a program cannot delete its own file.
        wait("the removal", lambda: not (self.folder / "uninstall.exe").exists(), 20)
        left = [path for path in self.folder.rglob("*") if path.is_file()]
        assert left == [work], left
        for key in (REMOVAL, CLASSES + "\\Orvel.Archive"):
            self.wine("reg", "query", key, fails=True)
        assert self.path() == "C:\\mine"
        assert "Former.Program" in self.wine("reg", "query", CLASSES + "\\.vl2", "/ve")
