"""What tools/make-bundle puts together, looks for and tells, with small libraries of the tests' own;
and what starts the show in the archive, with a show that is none."""

import contextlib
import io
import os
import shutil
import stat
import subprocess
import tempfile
import unittest
from unittest import mock

from bundling import checking, commandline, contents, elf, gathering, licences, trial
from bundling.building import archive_name
from bundling.readme import readme
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from tryscreens.picture import Picture

LAUNCHER = os.path.join(ROOT, "tools/bundling/pixmoth.sh")
TOLD = """
/a b/libx.so:     file format elf64-x86-64

Program Header:
    LOAD off    0x0000000000000000 vaddr 0x0000000000000000

Dynamic Section:
  NEEDED               libc.so.6
  NEEDED               liby.so.1
  SONAME               libx.so.0
  RUNPATH              $ORIGIN:/usr/lib/y
  INIT                 0x0000000000001000

Version definitions:
1 0x01 0x0d3b2f86 libx.so.0

Version References:
  required from libc.so.6:
    0x069691b4 0x00 05 GLIBC_2.34
    0x09691a75 0x00 02 GLIBC_2.2.5
  required from liby.so.1:
    0x00574d03 0x00 06 Y_1

/a b/libz.so:     file format elf64-x86-64
"""


class ElfTest(unittest.TestCase):
    def test_what_objdump_tells(self):
        found = elf.parse(TOLD)
        self.assertEqual(found["/a b/libx.so"], elf.Elf(
            "/a b/libx.so", "libx.so.0", ["libc.so.6", "liby.so.1"], ["$ORIGIN", "/usr/lib/y"],
            {"libc.so.6": ["GLIBC_2.34", "GLIBC_2.2.5"], "liby.so.1": ["Y_1"]}))
        self.assertEqual(found["/a b/libz.so"], elf.Elf("/a b/libz.so"))

    def test_what_is_no_program_is_an_error(self):
        with self.assertRaises(CannotStart):
            elf.read([os.path.abspath(__file__)])
        self.assertFalse(elf.is_elf(os.path.abspath(__file__)))
        self.assertTrue(elf.is_elf(os.path.realpath("/bin/sh")))


class VersionTest(unittest.TestCase):
    def test_newest_that_may_be_asked_for(self):
        for version in ("GLIBC_2.36", "GLIBC_2.2.5", "GLIBC_2.4", "GLIBCXX_3.4.30", "CXXABI_1.3",
                        "GCC_3.0", "GLIBC_ABI_DT_RELR"):
            self.assertFalse(checking.newer(version), version)
        for version in ("GLIBC_2.37", "GLIBC_2.100", "GLIBC_3", "GLIBCXX_3.4.31", "CXXABI_1.3.14",
                        "GCC_12.1.0", "GLIBC_PRIVATE"):
            self.assertTrue(checking.newer(version), version)

    def test_who_asks_for_it_is_told(self):
        reader = elf.Elf("/lib/libx.so", versions={"libc.so.6": ["GLIBC_2.38", "GLIBC_2.4"],
                                                   "libours.so.1": ["GLIBC_9"]})
        self.assertEqual(checking.too_new(reader), ["libx.so needs GLIBC_2.38 of libc.so.6"])


class LeftTest(unittest.TestCase):
    def test_each_has_one_reason(self):
        names = [name for left in contents.LEFT for name in left.names]
        self.assertEqual(len(names), len(set(names)))

    def test_the_driver_is_not_in_it(self):
        for name in ("libc.so.6", "libstdc++.so.6", "libGL.so.1", "libEGL.so.1", "libGLESv2.so.2",
                     "libgbm.so.1", "libdrm.so.2", "libX11.so.6", "libxcb.so.1"):
            self.assertFalse(contents.LEFT_NAMES[name].spare, name)

    def test_the_page_names_all(self):
        page = readme("1.2.3")
        self.assertIn("pixmoth 1.2.3:", page)
        for name, left in contents.LEFT_NAMES.items():
            self.assertIn(name + "*" if left.spare else name, page)
        self.assertLessEqual(max(map(len, page.splitlines())), 100)


class FolderTest(unittest.TestCase):
    """A system in which a program needs a library, which needs another, and all are made here."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = os.path.join(folder.name, "system")
        self.folder = os.path.join(folder.name, "a folder")
        self.libraries = os.path.join(self.root, contents.LIBRARIES)
        os.makedirs(self.libraries)
        os.makedirs(os.path.join(self.folder, "lib"))
        os.makedirs(os.path.join(self.folder, "spare"))
        self.library("libasound.so.2")
        self.library("libinner.so.1", "libasound.so.2")
        self.library("libouter.so.1", "libinner.so.1")
        self.gathering = gathering.Gathering(self.root, self.folder)

    def library(self, name, *needed, where=None, search=None):
        path = os.path.join(where or self.libraries, name)
        command = ["cc", "-shared", "-nostdlib", "-x", "c", "/dev/null", "-o", path,
                   f"-Wl,-soname,{name}", "-Wl,--no-as-needed", f"-L{self.libraries}"]
        if search:
            command.append(f"-Wl,-rpath,{search},--enable-new-dtags")
        subprocess.run([*command, *(f"-l:{one}" for one in needed)], check=True)
        return path

    def take_outer(self):
        self.gathering.take(contents.LIBRARIES + "/libouter.so.1", "lib")
        self.gathering.take_libraries()

    def test_all_that_is_needed_is_taken(self):
        self.take_outer()
        found = [os.path.relpath(path, self.folder) for path in gathering.elf_files(self.folder)]
        self.assertEqual(found, ["lib/libinner.so.1", "lib/libouter.so.1",
                                 "spare/libasound.so.2/libasound.so.2"])
        self.assertEqual(self.gathering.taken["lib/libinner.so.1"],
                         contents.LIBRARIES + "/libinner.so.1")

    def test_what_is_left_to_the_system_is_not_taken(self):
        self.library("libGL.so.1")
        self.library("libouter.so.1", "libGL.so.1")
        self.take_outer()
        self.assertEqual(os.listdir(os.path.join(self.folder, "lib")), ["libouter.so.1"])
        self.assertEqual(os.listdir(os.path.join(self.folder, "spare")), [])

    def test_what_the_system_has_not_is_told(self):
        os.remove(os.path.join(self.libraries, "libinner.so.1"))
        with self.assertRaisesRegex(CannotStart, "libouter.so.1 needs libinner.so.1"):
            self.take_outer()
        with self.assertRaisesRegex(CannotStart, "the system has no usr/nothing"):
            self.gathering.take("usr/nothing*", "lib")

    def test_a_whole_folder(self):
        os.makedirs(os.path.join(self.root, "data/inner"))
        for name in ("data/a", "data/inner/b"):
            with open(os.path.join(self.root, name), "w", encoding="utf-8"):
                pass
        self.gathering.take("data", "voice")
        self.assertEqual(sorted(self.gathering.taken), ["voice/data/a", "voice/data/inner/b"])

    def test_where_each_is_to_look(self):
        for name, wanted in (("lib/libx.so", "$ORIGIN"), ("bin/pixmoth", "$ORIGIN/../lib"),
                             ("spare/libx.so/libx.so", "$ORIGIN/../../lib")):
            self.assertEqual(gathering.search_path(os.path.join(self.folder, name), self.folder),
                             wanted)

    def lay(self, name, *needed, search="$ORIGIN"):
        """A library into the folder's own."""
        return self.library(name, *needed, where=os.path.join(self.folder, "lib"), search=search)

    def test_nothing_to_complain_of(self):
        self.lay("libinner.so.1")
        self.lay("libouter.so.1", "libinner.so.1")
        self.assertEqual(checking.complaints(self.folder), [])

    def test_complaints(self):
        self.library("libhere.so.1")
        self.lay("libouter.so.1", "libinner.so.1")
        self.lay("libGL.so.1")
        self.lay("libother.so.1", "libasound.so.2", search="/usr/lib")
        os.makedirs(os.path.join(self.folder, "spare/libx.so"))
        found = "\n".join(checking.complaints(self.folder))
        for words in ("lib/libouter.so.1 needs libinner.so.1, which is neither",
                      "lib/libGL.so.1 is to be left to the system",
                      "lib/libother.so.1 needs libasound.so.2, which is neither",
                      "lib/libother.so.1 looks for libraries in /usr/lib",
                      "spare/libx.so is no spare library"):
            self.assertIn(words, found)
        self.assertEqual(len(found.splitlines()), 5, found)


class LicencesTest(unittest.TestCase):
    STATUS = ("Package: liba1\nStatus: install ok installed\nVersion: 1:2-3\n"
              "Description: x\n more: of it\n\n"
              "Package: libb1\nSource: b (5-1)\nVersion: 5-1+b2\n\n"
              "Package: libc1\nSource: c\nVersion: 7-1\n\n"
              "Package: gone\nStatus: deinstall ok config-files\n")

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name
        self.write("var/lib/dpkg/status", self.STATUS)
        self.write("var/lib/dpkg/info/liba1:amd64.list", "/.\n/lib/liba.so.1\n/usr/lib/liba.so\n")
        self.write("var/lib/dpkg/info/libb1.list", "/.\n/usr/lib/libb.so.1\n")
        self.write("usr/share/doc/liba1/copyright", "of a")
        self.write("usr/share/common-licenses/GPL-3", "the text")

    def write(self, name, text):
        path = os.path.join(self.root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def test_sources(self):
        known = licences.packages(self.STATUS)
        self.assertEqual(sorted(known), ["liba1", "libb1", "libc1"])
        self.assertEqual(known["liba1"], licences.Package("liba1", "1:2-3", "liba1", "1:2-3"))
        self.assertEqual(known["libb1"], licences.Package("libb1", "5-1+b2", "b", "5-1"))
        self.assertEqual(known["libc1"], licences.Package("libc1", "7-1", "c", "7-1"))

    def test_packages_of_files(self):
        found = licences.packages_of(["usr/lib/liba.so.1", "usr/lib/libb.so.1",
                                      "usr/lib/liba.so"], self.root)
        self.assertEqual([package.name for package in found], ["liba1", "libb1"])
        with self.assertRaisesRegex(CannotStart, "usr/lib/odd.so is of no package"):
            licences.packages_of(["usr/lib/odd.so"], self.root)

    def test_what_is_written(self):
        folder = os.path.join(self.root, "licences")
        found = licences.packages_of(["usr/lib/liba.so.1"], self.root)
        licences.write_licences(found, self.root, folder)
        for name, words in (("liba1/copyright", "of a"), ("common-licenses/GPL-3", "the text"),
                            ("README", "liba1    liba1   1:2-3")):
            with open(os.path.join(folder, name), encoding="utf-8") as file:
                self.assertIn(words, file.read())

    def test_a_package_without_a_licence(self):
        found = licences.packages_of(["usr/lib/libb.so.1"], self.root)
        with self.assertRaisesRegex(CannotStart, "package libb1 says nothing"):
            licences.write_licences(found, self.root, os.path.join(self.root, "licences"))


# What the show is given: tells its environment and arguments, and ends with a code of its own.
SHOW = """#!/bin/sh
for word in "$@"; do echo "argument=$word"; done
env
command -v espeak
exit 7
"""
class LauncherTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.temporary = os.path.realpath(folder.name)
        self.here = os.path.join(self.temporary, "a folder's  own \"place\" $HOME")
        self.script("bin/pixmoth", SHOW)
        self.script("voice/espeak", "#!/bin/sh\n")
        self.script("lib/qt5/plugins/platforms/libqxcb.so", "")
        shutil.copy(LAUNCHER, os.path.join(self.here, "pixmoth"))

    def script(self, name, text):
        path = os.path.join(self.here, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o755)

    def play(self, *arguments, program=None, cwd="/", **environment):
        return subprocess.run(
            [program or os.path.join(self.here, "pixmoth"), *arguments], capture_output=True,
            text=True, check=False, cwd=cwd,
            env={"PATH": "/usr/bin:/bin", "HOME": "/home/somebody", **environment})

    def variables(self, *arguments, **how):
        told = self.play(*arguments, **how).stdout.splitlines()
        return dict(line.split("=", 1) for line in told if "=" in line)

    def test_arguments_and_exit_code(self):
        told = self.play("--one", "two words", "", "*")
        self.assertEqual((told.returncode, told.stderr), (7, ""))
        self.assertEqual(told.stdout.splitlines()[:4],
                         ["argument=--one", "argument=two words", "argument=", "argument=*"])

    def test_what_the_show_and_the_voice_find(self):
        told = self.variables(QT_PLUGIN_PATH="/theirs", GST_PLUGIN_PATH="/theirs")
        for name, value in (("GST_PLUGIN_SYSTEM_PATH_1_0", "lib/gstreamer-1.0"),
                            ("GST_PLUGIN_SCANNER_1_0", "lib/gst-plugin-scanner"),
                            ("FONTCONFIG_FILE", "fonts.conf"), ("ESPEAK_DATA_PATH", "voice")):
            self.assertEqual(told[name], os.path.join(self.here, value))
        self.assertEqual(told["GST_REGISTRY_1_0"],
                         "/home/somebody/.cache/pixmoth/gstreamer.bin")
        for name in ("QT_PLUGIN_PATH", "GST_PLUGIN_PATH", "LD_LIBRARY_PATH"):
            self.assertNotIn(name, told)
        self.assertEqual(self.play().stdout.splitlines()[-1],
                         os.path.join(self.here, "voice/espeak"))

    def test_through_links(self):
        inner = os.path.join(self.temporary, "inner link")
        outer = os.path.join(self.temporary, "bin/outer")
        os.makedirs(os.path.dirname(outer))
        os.symlink(os.path.join(self.here, "pixmoth"), inner)
        os.symlink("../inner link", outer)
        for program, cwd in ((outer, "/"), ("./outer", os.path.dirname(outer)),
                             ("./pixmoth", self.here)):
            told = self.variables(program=program, cwd=cwd)
            self.assertEqual(told["ESPEAK_DATA_PATH"], os.path.join(self.here, "voice"))

    def test_without_a_home(self):
        told = self.variables(XDG_CACHE_HOME="/caches")
        self.assertEqual(told["GST_REGISTRY_1_0"], "/caches/pixmoth/gstreamer.bin")
        told = subprocess.run(["env", "-i", "PATH=/usr/bin:/bin",
                               os.path.join(self.here, "pixmoth")],
                              capture_output=True, text=True, check=False)
        self.assertEqual((told.returncode, told.stderr), (7, ""))

    def test_a_folder_that_nobody_may_write_to(self):
        for folder, folders, files in os.walk(self.here):
            for name in files:
                os.chmod(os.path.join(folder, name), 0o555)
            for name in (".", *folders):
                os.chmod(os.path.join(folder, name), stat.S_IRUSR | stat.S_IXUSR)
                self.addCleanup(os.chmod, os.path.join(folder, name), stat.S_IRWXU)
        before = sorted(os.listdir(self.here))
        self.assertEqual(self.play().returncode, 7)
        self.assertEqual(sorted(os.listdir(self.here)), before)

    def compile(self, name, *needed):
        """A program, or a library that has a name of its own, into the folder."""
        path = os.path.join(self.here, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        soname = os.path.basename(name)
        is_library = ".so" in soname
        subprocess.run(
            ["cc", "-x", "c", "-", "-x", "none", "-o", path, "-Wl,--no-as-needed",
             "-Wl,--allow-shlib-undefined",
             *(["-shared", "-nostdlib", "-Wl,-soname," + soname] if is_library else []),
             *(os.path.join(self.here, f"spare/{one}/{one}") for one in needed)],
            input="" if is_library else "int main(void) { return 5; }", text=True, check=True)

    def spare(self, name, *needed):
        self.compile(f"spare/{name}/{name}", *needed)
        return os.path.join(self.here, "spare", name)

    def test_spare_libraries_are_for_who_has_none(self):
        spare = self.spare("libsparesound.so.1")
        self.compile("voice/espeak", "libsparesound.so.1")
        told = self.variables()
        self.assertEqual(told["LD_LIBRARY_PATH"], spare)
        self.assertNotIn("ALSA_CONFIG_PATH", told)
        self.script("spare/libsparesound.so.1/asound.conf", "")
        told = self.variables(LD_LIBRARY_PATH="/theirs")
        self.assertEqual(told["LD_LIBRARY_PATH"], "/theirs:" + spare)
        self.assertEqual((told["ALSA_CONFIG_PATH"], told["ALSA_PLUGIN_DIR"]),
                         (spare + "/asound.conf", spare))
        theirs = os.path.join(self.temporary, "theirs")
        shutil.copytree(spare, theirs)
        self.assertEqual(self.variables(LD_LIBRARY_PATH=theirs)["LD_LIBRARY_PATH"], theirs)

    def test_spare_libraries_that_want_others(self):
        inner, outer = self.spare("libinner.so.1"), self.spare("libouter.so.1", "libinner.so.1")
        self.compile("bin/pixmoth", "libouter.so.1")
        told = self.play()
        self.assertEqual((told.returncode, told.stderr), (5, ""))
        shutil.rmtree(inner)
        told = self.play()
        self.assertEqual((told.returncode, told.stdout), (1, ""))
        self.assertIn("pixmoth: this system lacks libinner.so.1: ", told.stderr)
        shutil.rmtree(outer)
        self.assertIn("lacks libouter.so.1: ", self.play().stderr)


class TrialTest(unittest.TestCase):
    def test_who_plays(self):
        told = ('Sink Input #1\n\tapplication.name = "pixmoth"\nSink Input #2\n'
                '\t\tapplication.name = "ALSA plug-in [espeak]"\n')
        self.assertEqual(trial.players(told), {"pixmoth", "ALSA plug-in [espeak]"})
        self.assertEqual(trial.players(""), set())

    def test_what_the_log_may_not_tell(self):
        for line in ("pixmoth.platform: No music: x (y)", "pixmoth.platform: No speech: espeak",
                     "pixmoth.platform: No sound: neither", "Could not load the Qt platform plugin",
                     'GStreamer; Unable to play - "your plugin is missing"'):
            self.assertEqual(trial.suspicious(f"fine\n{line}\n"), [line])

    def test_what_a_bare_system_has_not(self):
        self.assertEqual(trial.suspicious(
            "pixmoth.platform: No session bus: the screen may blank during the show\n"
            "pixmoth.platform: No system bus: battery and power are unknown\nvertex shader\n"), [])

    def trial(self, code=0, rows=(24, 60, 70, 480), players=("pixmoth", "[espeak]"), window="1",
              loudness=-20.0):
        """The outcome of one whose screen, server and show are none."""
        tried = trial.Trial("here", "archive", "mirror")
        pictures = mock.Mock(side_effect=rows)
        server = mock.Mock()
        server.ask.return_value = "".join(f'application.name = "{name}"\n' for name in players)
        server.loudness.return_value = loudness
        show = mock.Mock(code=code)
        show.is_over.side_effect = [False, True] * 20
        with mock.patch.object(trial.Trial, "photograph", pictures):
            tried.watch(show, mock.Mock(window=mock.Mock(return_value=window)), server)
        return tried.outcome

    def test_all_is_well(self):
        outcome = self.trial()
        self.assertEqual(outcome.complaints, [])
        self.assertEqual((outcome.found["voice"], outcome.found["end"]), ("[espeak]", "code 0"))

    def test_what_is_wrong(self):
        for how, column in (({"code": 3}, "end"), ({"players": ("pixmoth",)}, "voice"),
                            ({"players": ("[espeak]",)}, "music"), ({"window": ""}, "starts"),
                            ({"loudness": -99.0}, "loudest"),
                            ({"rows": (24, 23, 70, 480)}, "pictures")):
            with self.subTest(column):
                outcome = self.trial(**how)
                self.assertEqual(len(outcome.complaints), 1)
                self.assertTrue(outcome.complaints[0].startswith(column + ": "))

    def test_pictures_are_kept(self):
        pixels = bytearray(3200 * 480)
        for row in (7, 9):
            pixels[3200 * row + 100] = 255
        camera = mock.MagicMock()
        camera.return_value.__enter__.return_value.picture.return_value = Picture(
            800, 480, 3200, bytes(pixels))
        with tempfile.TemporaryDirectory() as folder, \
                mock.patch.object(trial, "XCamera", camera):
            tried = trial.Trial("here", "archive", "mirror")
            tried.folder = folder
            self.assertEqual(tried.photograph(":1", 4), 2)
            self.assertTrue(os.path.exists(os.path.join(folder, "after-4-s.png")))


class CommandLineTest(unittest.TestCase):
    def test_defaults(self):
        self.assertEqual(commandline.parse([]).releases, [])
        self.assertEqual(commandline.parse(["--try"]).releases, ["bookworm", "trixie", "forky"])
        self.assertEqual(commandline.parse(["--try", "sid", "sid"]).releases, ["sid"])

    def test_what_cannot_be_is_refused(self):
        for words in (["--try", "../.."], ["--archive", __file__],
                      ["--archive", "/nonexistent", "--try"], ["sid"]):
            with self.subTest(words), contextlib.redirect_stderr(io.StringIO()), \
                    self.assertRaises(SystemExit):
                commandline.parse(words)

    def test_the_name_has_the_version(self):
        self.assertRegex(archive_name(), r"^pixmoth-\d+\.\d+\.\d+-x86_64$")

    def test_a_line_for_each(self):
        told = commandline.table([trial.Outcome("here", {"starts": "2.0 s", "end": "code 0"}),
                                  trial.Outcome("nowhere")]).splitlines()
        self.assertEqual(told[1].split(), ["here", "2.0", "s", *["-"] * 5, "code", "0"])
        self.assertEqual(told[2].split(), ["nowhere", *["-"] * 7])


if __name__ == "__main__":
    unittest.main()
