"""What stands in a package's files and elsewhere, too, is the same in both places."""

import fnmatch
import glob
import os
import re
import struct
import subprocess
import unittest
import xml.etree.ElementTree as xml

from makerelease import contents

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# Of what is installed to play in a checkout, that which comes with other packages: the libraries of
# OpenGL, and those bring a driver.
COMES_WITH_LIBRARIES = {"libgl1-mesa-dri", "libgles2", "libglx-mesa0", "libegl1"}
COMPILER = {"g++"}  # Is there wherever packages are built.
HELPER = {"debhelper-compat"}


def read(name):
    with open(os.path.join(ROOT, name), encoding="utf-8") as file:
        return file.read()


def match(pattern, name):
    found = re.search(pattern, read(name), re.MULTILINE | re.DOTALL)
    assert found, f"{name} has nothing like {pattern}"
    return found.group(1)


def packages_of_set(name):
    """The packages of one of the sets of tools/install-packages."""
    return set(match(rf'^sets\[{name}\]="([^"]*)"', "tools/install-packages").split())


def field(name, text):
    """The names in a field of debian/control; comments and conditions are left out."""
    lines = re.search(rf"^{name}:(.*?)^(?=\S)(?!#)", text + "\nEnd:", re.MULTILINE | re.DOTALL)
    kept = "".join(line for line in lines.group(1).splitlines() if not line.startswith("#"))
    return {re.match(r"\s*([^\s(|]+)", entry).group(1)
            for entry in kept.split(",") if entry.strip()}


VERSION = match(r"^project\(pixmoth VERSION (\S+)", "CMakeLists.txt")


class VersionTest(unittest.TestCase):
    def test_one_version(self):
        self.assertEqual(match(r"\Apixmoth \(([^)]*)\)", "debian/changelog"), VERSION)
        self.assertEqual(match(r'<release version="([^"]*)"', "packaging/pixmoth.metainfo.xml"),
                         VERSION)
        self.assertEqual(match(r"^## (\S+)", "CHANGELOG.md"), VERSION)


class PartyTest(unittest.TestCase):
    """What a reader of 1992 could still show: so wide, so high, and nothing beyond ASCII."""

    def lines(self, name, width):
        lines = contents.fill(read("packaging/party/" + name), "10.10.10").splitlines()
        self.assertTrue(all(line.isascii() for line in lines))
        self.assertEqual([line for line in lines if len(line) > width], [])
        return lines

    def test_info_file(self):
        self.assertGreater(len(self.lines("pixmoth.nfo", 80)), 10)

    def test_description(self):
        self.assertLessEqual(len(self.lines("file_id.diz", 45)), 10)

    def test_version_is_filled_in(self):
        for name in (*contents.PAGES, contents.START):
            with self.subTest(name):
                text = contents.fill(read("packaging/party/" + name), "10.10.10")
                self.assertIn("10.10.10", text)
                self.assertNotIn(contents.PLACEHOLDER, text)

    def test_columns_stay(self):
        self.assertEqual(contents.fill("a-@VERSION@.b  c\n@VERSION@ d\n@VERSION@", "1.0"),
                         "a-1.0.b        c\n1.0 d\n1.0")

    def test_the_page_lists_what_is_in_the_pack(self):
        page = contents.fill(read("packaging/party/pixmoth.nfo"), "10.10.10")
        section = re.search(r"^  IN THE PACK\n\n(.*?)\n\n", page, re.MULTILINE | re.DOTALL)[1]
        listed = [name for line in section.splitlines() if line[4] != " "
                  for name in re.split("  +", line.strip())[0].split(", ")]
        packed = contents.names("10.10.10")
        for name in listed:
            self.assertTrue(fnmatch.filter(packed, name), f"{name} is listed, and not packed")
        for name in packed:
            matching = [pattern for pattern in listed if fnmatch.fnmatch(name, pattern)]
            self.assertEqual(len(matching), 1, f"{name} is packed, and listed as {matching}")

    def test_the_notes_tell_of_all_that_is_released(self):
        notes = read(f"docs/release-{VERSION}.md")
        table = "\n".join(line for line in notes.splitlines() if line.startswith("|"))
        for name in (contents.archive(VERSION), *contents.names(VERSION), "SHA256SUMS"):
            patterns = [word for word in re.findall("`([^`]*)`", table)
                        if fnmatch.fnmatch(name, word)]
            self.assertTrue(patterns, f"{name} is released, and not told of")


class DependenciesTest(unittest.TestCase):
    def test_what_is_needed_to_build(self):
        source = read("debian/control").partition("\n\n")[0]
        self.assertEqual(field("Build-Depends", source) - HELPER,
                         packages_of_set("build") - COMPILER)

    def test_what_is_found_at_run_time(self):
        program = read("debian/control").split("\n\n")[1]
        installed = field("Depends", program) | field("Recommends", program)
        wanted = packages_of_set("play") | packages_of_set("wayland")
        self.assertEqual(wanted - COMES_WITH_LIBRARIES - installed, set())


class LicenceTest(unittest.TestCase):
    def test_the_same_files_are_pictures_and_music(self):
        told = match(r"pictures and the music \(([^)]*)\)", "LICENSE")
        folders = {folder.strip() for folder in told.split(",")}
        listed = re.findall(r"^ (\S+)/\*$", read("debian/copyright"), re.MULTILINE)
        self.assertEqual({folder + "/" for folder in listed}, folders)

    def test_the_same_terms(self):
        terms = match(r"(Permission is hereby granted.*IN THE\nSOFTWARE\.)", "LICENSE")
        packaged = match(r"^License: Expat\n( Permission.*?)\n\n", "debian/copyright")
        self.assertEqual(packaged.replace("\n .\n", "\n").split(), terms.split())


class IconTest(unittest.TestCase):
    def test_pictures_are_as_large_as_they_are_called(self):
        paths = glob.glob(os.path.join(ROOT, "art/icons/*.png"))
        self.assertGreater(len(paths), 3)
        for path in paths:
            with self.subTest(os.path.basename(path)), open(path, "rb") as file:
                size = struct.unpack(">II", file.read(24)[16:])
                called = int(os.path.basename(path).partition(".")[0])
                self.assertEqual(size, (called, called))

    def test_drawing_is_what_its_source_draws(self):
        drawn = subprocess.run(["python3", os.path.join(ROOT, "art/icon.py")], check=True,
                               capture_output=True, text=True).stdout
        self.assertEqual(drawn, read("art/icons/pixmoth.svg"))


class MetadataTest(unittest.TestCase):
    def test_the_files_name_each_other(self):
        component = xml.parse(os.path.join(ROOT, "packaging/pixmoth.metainfo.xml")).getroot()
        self.assertEqual(component.findtext("launchable"), "pixmoth.desktop")
        entry = read("packaging/pixmoth.desktop")
        self.assertIn(f"\nIcon={component.findtext('icon')}\n", entry)
        self.assertIn(f"\nExec={component.findtext('provides/binary')}\n", entry)

    def test_flashing_light_is_told_first(self):
        component = xml.parse(os.path.join(ROOT, "packaging/pixmoth.metainfo.xml")).getroot()
        self.assertIn("flashing light", component.findtext("description/p"))
        self.assertIn("Flashing light", match(r"^Comment=(.*?)$", "packaging/pixmoth.desktop"))

    def test_manual_knows_the_variables_that_the_show_sets(self):
        manual = read("packaging/pixmoth.6.in")
        servers = read("src/platform/silentservers.cpp")
        names = set(re.findall(r'"([A-Z]+(?:_[A-Z]+)+)"', servers)) - {"SESSION_MANAGER"}
        self.assertGreater(len(names), 3)
        for name in names:
            with self.subTest(name):
                self.assertIn(name, manual)


if __name__ == "__main__":
    unittest.main()
