"""What tools/phone-check decides before it runs anything, and after."""

import contextlib
import io
import os
import shutil
import subprocess
import tempfile
import types
import unittest
from dataclasses import replace
from unittest import mock

from phonecheck import commandline, compiler, emulator, frames, gltests, qtopengl, sysroot
from phonecheck.gltests import LeftOut, Test
from phonecheck.target import ARCHITECTURES, DESKTOP, ES, RELEASES, Target
from phonecheck.workplace import StepFailed
from surroundings.show import ROOT

TARGET = Target(ARCHITECTURES["armhf"], RELEASES["bookworm"])


class TargetTest(unittest.TestCase):
    def test_all_have_a_compiler_and_an_emulator(self):
        with open(os.path.join(ROOT, "tools/install-packages"), encoding="utf-8") as file:
            phone = file.read().partition('sets[phone]="')[2].partition('"')[0].split()
        for architecture in ARCHITECTURES.values():
            self.assertIn("g++-" + architecture.triplet, phone)
            self.assertRegex(architecture.emulator[0], "^qemu-")
        self.assertIn("qemu-user", phone)

    def test_each_has_a_folder_of_its_own(self):
        targets = [Target(architecture, release, gles) for architecture in ARCHITECTURES.values()
                   for release in RELEASES.values() for gles in (False, True)]
        self.assertEqual(len({target.name for target in targets}), len(targets))

    def test_opengl_is_that_of_the_build_of_qt(self):
        arm64 = ARCHITECTURES["arm64"]
        self.assertEqual(TARGET.opengl, ES)
        self.assertEqual(Target(arm64, RELEASES["trixie"]).opengl, DESKTOP)
        self.assertEqual(Target(arm64, RELEASES["trixie"], gles=True).opengl, ES)

    def test_time_is_as_long_as_in_the_releases_libraries(self):
        with_definitions = [
            (architecture.name, release.name) for architecture in ARCHITECTURES.values()
            for release in RELEASES.values() if Target(architecture, release).definitions]
        self.assertEqual(with_definitions, [("armhf", "trixie")])
        self.assertIn("-D_TIME_BITS=64",
                      Target(ARCHITECTURES["armhf"], RELEASES["trixie"]).definitions)


class CompilerTest(unittest.TestCase):
    TOLD = ("Using built-in specs.\nignoring nonexistent directory \"/x\"\n"
            '#include "..." search starts here:\n#include <...> search starts here:\n'
            " /usr/lib/gcc-cross/one-two/12/../../../../one-two/include/c++/12\n"
            " /usr/one-two/include\n /sysroot/usr/include\nEnd of search list.\n"
            "# 0 \"/dev/null\"\n")

    def test_search_list_is_read(self):
        self.assertEqual(compiler.search_list(self.TOLD),
                         ["/usr/one-two/include/c++/12", "/usr/one-two/include",
                          "/sysroot/usr/include"])

    def test_c_library_is_the_phones(self):
        folders = compiler.header_folders(compiler.search_list(self.TOLD), "one-two")
        self.assertEqual(folders, ["/usr/one-two/include/c++/12", "/sysroot/usr/include"])


def a_test(name, *functions):
    program = "/build/tests/" + name.split(".")[0]
    return Test(name, ["/tools/with-xvfb", program], list(functions), ["A=1", "B=2"], 240, "/build")


class LeftOutTest(unittest.TestCase):
    """Functions of the program "onetest", of which there are four."""

    LEFT_OUT = (LeftOut("onetest", "second", "reason"), LeftOut("onetest", "third", "reason"))

    def functions_left(self, *tests, left_out=LEFT_OUT):
        known = ["first", "second", "third", "fourth"]
        remaining = gltests.without(tests, left_out, lambda test: known)
        return [(test.name, test.functions) for test in remaining]

    def test_several_of_one_program(self):
        self.assertEqual(self.functions_left(a_test("onetest")),
                         [("onetest", ["first", "fourth"])])

    def test_other_programs_run_all(self):
        self.assertEqual(self.functions_left(a_test("othertest")), [("othertest", [])])

    def test_a_function_with_a_process_of_its_own(self):
        self.assertEqual(
            self.functions_left(a_test("onetest.first", "first"), a_test("onetest.third", "third")),
            [("onetest.first", ["first"])])

    def test_nothing_is_left(self):
        everything = [LeftOut("onetest", name, "reason")
                      for name in ("first", "second", "third", "fourth")]
        self.assertEqual(self.functions_left(a_test("onetest"), left_out=everything), [])

    def test_a_function_that_is_no_more(self):
        with self.assertRaises(StepFailed):
            self.functions_left(a_test("onetest"), left_out=(LeftOut("onetest", "fifth", "why"),))

    def test_on_es_more_is_left_out(self):
        on_desktop = gltests.left_out_on(DESKTOP)
        on_es = gltests.left_out_on(ES)
        self.assertEqual([entry.function for entry in on_es if entry not in on_desktop],
                         ["fourComponentsAreATexture"])
        self.assertEqual([entry for entry in on_desktop if entry not in on_es], [])

    def test_the_others_are_not_asked(self):
        def nobody(_test):
            self.fail("was asked for its functions")

        gltests.without([a_test("othertest")], self.LEFT_OUT, nobody)


class PatternTest(unittest.TestCase):
    TESTS = [a_test("onetest"), a_test("othertest"), a_test("showtest.plays", "plays")]

    def names(self, only, leave_out):
        return [test.name for test in gltests.choose(self.TESTS, only, leave_out)]

    def test_no_pattern_is_all(self):
        self.assertEqual(self.names("", ""), ["onetest", "othertest", "showtest.plays"])

    def test_only(self):
        self.assertEqual(self.names("^o", ""), ["onetest", "othertest"])

    def test_leave_out(self):
        self.assertEqual(self.names("", "show|one"), ["othertest"])

    def test_both(self):
        self.assertEqual(self.names("test", "other"), ["onetest", "showtest.plays"])


class CtestTest(unittest.TestCase):
    def test_listing_is_read(self):
        told = {"name": "onetest.first",
                "command": ["/tools/with-xvfb", "/build/tests/onetest", "first"],
                "properties": [{"name": "ENVIRONMENT", "value": ["A=1"]},
                               {"name": "TIMEOUT", "value": 240.0},
                               {"name": "WORKING_DIRECTORY", "value": "/build/tests"}]}
        test, = gltests.read_tests({"tests": [told]}, "/build")
        self.assertEqual((test.program, test.functions, test.limit_s), ("onetest", ["first"], 240))

    def test_file_is_what_ctest_runs(self):
        awkward = 'a "$b" ${c} ]] ; d'
        test = Test("echoes", ["/bin/sh", "-c", 'echo "$1 $A $B"', "sh"], [awkward],
                    ["A=1", "B=2"], 10, "/")
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "CTestTestfile.cmake"), "w", encoding="utf-8") as file:
                file.write(gltests.ctest_file([test], 7))
            told = subprocess.run(["ctest", "--test-dir", folder, "-V"], capture_output=True,
                                  text=True, check=True).stdout
        self.assertIn(awkward + " 1 2\n", told)
        self.assertIn("Test timeout computed to be: 70\n", told)


class SeclusionTest(unittest.TestCase):
    @unittest.skipUnless(shutil.which("bwrap"), "bubblewrap is not installed")
    def test_shared_memory_of_others_is_not_seen(self):
        prefix = gltests.secluding_prefix()
        if not prefix:
            self.skipTest("nothing can be mounted here")
        with tempfile.NamedTemporaryFile(dir="/dev/shm") as left, \
                tempfile.NamedTemporaryFile() as other:
            for path, seen in ((left.name, False), (other.name, True)):
                code = subprocess.run([*prefix, "test", "-e", path], check=False).returncode
                self.assertEqual(code == 0, seen, path)

    def test_where_nothing_can_be_mounted_all_is_seen(self):
        with tempfile.TemporaryDirectory() as folder:
            tool = os.path.join(folder, "bwrap")
            emulator.write_script(tool, "exit 1")
            with mock.patch.dict(os.environ, PATH=folder + ":" + os.environ["PATH"]), \
                    contextlib.redirect_stdout(io.StringIO()) as told:
                self.assertEqual(gltests.secluding_prefix(), ())
        self.assertIn("/dev/shm", told.getvalue())


class SysrootTest(unittest.TestCase):
    def test_stamp_names_what_it_is_made_of(self):
        stamp = sysroot.stamp(TARGET, "http://mirror", "/folder")
        others = [
            sysroot.stamp(TARGET, "http://other", "/folder"),
            sysroot.stamp(TARGET, "http://mirror", "/elsewhere"),
            sysroot.stamp(replace(TARGET, release=replace(TARGET.release, packages=("one-more",))),
                          "http://mirror", "/folder"),
            sysroot.stamp(replace(TARGET, release=replace(TARGET.release, name="next")),
                          "http://mirror", "/folder"),
            sysroot.stamp(replace(TARGET, architecture=ARCHITECTURES["arm64"]),
                          "http://mirror", "/folder"),
            sysroot.stamp(replace(TARGET, gles=True), "http://mirror", "/folder"),
        ]
        self.assertEqual(stamp, sysroot.stamp(TARGET, "http://mirror", "/folder"))
        self.assertEqual(len({stamp, *others}), 1 + len(others))

    def test_apt_works_for_the_other_machine(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "apt.conf")
            sysroot.write(path, sysroot.apt_configuration(TARGET, folder))
            told = subprocess.run(["apt-config", "dump"], env=dict(os.environ, APT_CONFIG=path),
                                  capture_output=True, text=True, check=True).stdout
        self.assertIn('APT::Architecture "armhf";', told)
        self.assertEqual([line for line in told.split("\n")
                          if line.startswith("APT::Architectures:")],
                         ['APT::Architectures:: "armhf";'])
        self.assertIn(f'Dir::State "{folder}";', told)

    def test_mirror_has_other_releases_too(self):
        with tempfile.TemporaryDirectory() as folder:
            tool = os.path.join(folder, "apt-get")
            sysroot.write(tool, "#!/bin/sh\nfor word; do case $word in\n"
                                "'Codename: own') echo http://own http://second ;;\n"
                                "'Label: Debian') echo http://any ;;\nesac; done\n")
            os.chmod(tool, 0o755)
            with mock.patch.dict(os.environ, PATH=folder + ":" + os.environ["PATH"]):
                self.assertEqual(sysroot.own_mirror("own"), "http://own")
                self.assertEqual(sysroot.own_mirror("next"), "http://any")
            sysroot.write(tool, "#!/bin/sh\n")
            with mock.patch.dict(os.environ, PATH=folder + ":" + os.environ["PATH"]):
                self.assertEqual(sysroot.own_mirror("own"), "")

    def test_one_build_of_qt_is_unpacked(self):
        fetched = [f"/archives/{name}_1%3a5.15_arm64.deb"
                   for name in (*sysroot.NOT_ON_ES, "libqt5core5a", "libqt5opengl5-dev")]
        on_es = [f"/archives/{name}_5.15_arm64.deb" for name in sysroot.ON_ES]
        self.assertEqual(sysroot.unpacked(fetched, gles=False), sorted(fetched))
        self.assertEqual(sysroot.unpacked(fetched + on_es, gles=True),
                         sorted(fetched[-2:] + on_es))

    def test_links_stay_within(self):
        with tempfile.TemporaryDirectory() as folder:
            os.makedirs(os.path.join(folder, "usr/lib"))
            for name, goal in (("usr/lib/outward", "/lib/x.so"), ("usr/lib/beside", "x.so")):
                os.symlink(goal, os.path.join(folder, name))
            sysroot.turn_links_inward(folder)
            self.assertEqual(os.readlink(os.path.join(folder, "usr/lib/outward")),
                             folder + "/lib/x.so")
            self.assertEqual(os.readlink(os.path.join(folder, "usr/lib/beside")), "x.so")


class QtOpenGlTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.archives = os.path.join(self.folder, "archives")
        self.place = types.SimpleNamespace(
            path=lambda *names: os.path.join(self.folder, *names))
        os.makedirs(self.archives)

    def archive(self, version):
        """A source with a file in QtOpenGL's folder, and one in another."""
        for part in ("opengl", "other"):
            path = os.path.join(self.folder, "qtbase-" + version, "src", part)
            os.makedirs(path)
            sysroot.write(os.path.join(path, "a.cpp"), version)
        path = os.path.join(self.archives,
                            f"{qtopengl.SOURCE_PACKAGE}_{version}+dfsg.orig.tar.gz")
        subprocess.run(["tar", "-c", "-z", "-f", path, "-C", self.folder, "qtbase-" + version],
                       check=True)
        sysroot.write(path + ".asc", "signature")

    def test_its_folder_is_unpacked(self):
        self.archive("5.15")
        source = qtopengl.unpack_source(self.place, self.archives)
        self.assertEqual(os.listdir(source), ["a.cpp"])
        self.assertEqual(os.listdir(os.path.dirname(source)), ["opengl"])

    def test_another_source_is_not_taken_for_it(self):
        with self.assertRaises(StepFailed):
            qtopengl.unpack_source(self.place, self.archives)
        self.archive("5.15")
        self.archive("5.16")
        with self.assertRaises(StepFailed):
            qtopengl.unpack_source(self.place, self.archives)


class FramesTest(unittest.TestCase):
    def test_every_part_has_every_moment(self):
        names = ["01-1.png", "01-2.5.png", "02-1.png"]
        self.assertEqual(frames.missing(names, ("1", "2.5")), ["02-2.5.png"])
        self.assertEqual(frames.missing(names + ["02-2.5.png"], ("1", "2.5")), [])

    def test_a_part_is_missing(self):
        self.assertEqual(frames.missing(["01-1.png", "03-1.png"], ("1",)), ["02-1.png"])

    def test_what_is_bright_may_differ_more(self):
        self.assertTrue(frames.too_far(0.0004, 0.0))
        self.assertFalse(frames.too_far(0.0004, 0.03))

    def test_part_of_little_but_a_caption_cannot_go_missing(self):
        self.assertTrue(frames.too_far(0.0004, 0.0004))


class EmulatorTest(unittest.TestCase):
    @staticmethod
    def words_of_emulator(target, **settings):
        """What the script calls the emulator with, which only tells it here."""
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, target.architecture.emulator[0])
            emulator.write_script(path, """printf '%s\\n' "$@\"""")
            place = types.SimpleNamespace(
                target=target, sysroot=folder, libraries=folder,
                path=lambda *names: os.path.join(folder, *names))
            script = emulator.Emulator(place, emulator.DRAWS_OUTSIDE).script()
            environment = {"PATH": folder + ":" + os.environ["PATH"], **settings}
            return subprocess.run(["sh", "-c", script, "sh", "program"], env=environment,
                                  capture_output=True, text=True, check=True).stdout.split("\n")

    def test_mesa_is_held_to_what_the_toolkit_asks_for(self):
        on_desktop = self.words_of_emulator(Target(ARCHITECTURES["arm64"], RELEASES["trixie"]))
        self.assertEqual(on_desktop[:3], ["-cpu", "cortex-a53", "-L"])
        self.assertEqual([word for word in on_desktop if word.startswith("MESA_GL")],
                         ["MESA_GL_VERSION_OVERRIDE=2.1", "MESA_GLSL_VERSION_OVERRIDE=120"])
        on_es = self.words_of_emulator(Target(ARCHITECTURES["arm64"], RELEASES["trixie"], True))
        self.assertEqual([word for word in on_es if word.startswith("MESA_GL")],
                         ["MESA_GLES_VERSION_OVERRIDE=2.0"])

    def test_a_test_may_ask_for_less(self):
        words = self.words_of_emulator(Target(ARCHITECTURES["arm64"], RELEASES["trixie"]),
                                       MESA_GL_VERSION_OVERRIDE="1.5")
        self.assertIn("MESA_GL_VERSION_OVERRIDE=1.5", words)
        self.assertNotIn("MESA_GL_VERSION_OVERRIDE=2.1", words)

    def test_a_script_that_stays_keeps_its_time(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "script")
            emulator.write_script(path, "exit 3")
            self.assertEqual(subprocess.run([path], check=False).returncode, 3)
            os.utime(path, (1, 1))
            emulator.write_script(path, "exit 3")
            self.assertEqual(os.stat(path).st_mtime, 1)
            emulator.write_script(path, "exit 4")
            self.assertEqual(subprocess.run([path], check=False).returncode, 4)


class CommandLineTest(unittest.TestCase):
    @staticmethod
    def sections(*words):
        return [section.name for section in commandline.parse(words).sections]

    def test_all_sections_when_none_is_named(self):
        self.assertEqual(self.sections(), ["tests", "frames", "show"])
        self.assertEqual(self.sections("show", "tests"), ["tests", "show"])

    def test_gles_is_for_those_that_are_not_on_it(self):
        self.assertEqual(commandline.parse([]).target, TARGET)
        options = commandline.parse(["--architecture", "arm64", "--release", "trixie", "--gles"])
        self.assertEqual(options.target.name, "arm64-trixie-gles")
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            commandline.parse(["--architecture", "armhf", "--gles"])

    def test_what_is_no_section_is_refused(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            self.sections("toys")

    def test_patience_is_a_number_of_times(self):
        self.assertEqual(commandline.parse([]).patience, gltests.PATIENCE)
        self.assertEqual(commandline.parse(["--patience", "12"]).patience, 12)
        for wrong in ("0", "-1", "x", "1.5"):
            with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
                commandline.parse(["--patience", wrong])

    def test_moments_end_with_their_word(self):
        options = commandline.parse(["--moments", "1,2.5", "frames"])
        self.assertEqual(options.moments, ("1", "2.5"))
        self.assertEqual([section.name for section in options.sections], ["frames"])

    def test_variable_is_a_default(self):
        os.environ["LEAVE_OUT"] = "show"
        self.addCleanup(os.environ.pop, "LEAVE_OUT")
        self.assertEqual(commandline.parse([]).leave_out, "show")
        self.assertEqual(commandline.parse(["--leave-out", "one"]).leave_out, "one")


if __name__ == "__main__":
    unittest.main()
