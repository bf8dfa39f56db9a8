"""What tools/phone-check decides before it runs anything, and after."""

import contextlib
import io
import os
import subprocess
import tempfile
import unittest

from phonecheck import commandline, emulator, frames, gltests, sysroot
from phonecheck.gltests import LeftOut, Test
from phonecheck.target import ARCHITECTURES, RELEASES, Architecture, Release, Target
from phonecheck.workplace import StepFailed

TARGET = Target(ARCHITECTURES["armhf"], RELEASES["bookworm"])


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
                file.write(gltests.ctest_file([test]))
            told = subprocess.run(["ctest", "--test-dir", folder, "-V"], capture_output=True,
                                  text=True, check=True).stdout
        self.assertIn(awkward + " 1 2\n", told)
        self.assertIn(f"Test timeout computed to be: {10 * gltests.PATIENCE}\n", told)


class SysrootTest(unittest.TestCase):
    def test_stamp_names_what_it_is_made_of(self):
        stamp = sysroot.stamp(TARGET, "http://mirror", "/folder")
        others = [
            sysroot.stamp(TARGET, "http://other", "/folder"),
            sysroot.stamp(TARGET, "http://mirror", "/elsewhere"),
            sysroot.stamp(Target(TARGET.architecture, Release("bookworm", ("one-more",))),
                          "http://mirror", "/folder"),
            sysroot.stamp(Target(TARGET.architecture, Release("next", TARGET.release.packages)),
                          "http://mirror", "/folder"),
            sysroot.stamp(Target(Architecture("arm64", "a", "b", "c"), TARGET.release),
                          "http://mirror", "/folder"),
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

    def test_links_stay_within(self):
        with tempfile.TemporaryDirectory() as folder:
            os.makedirs(os.path.join(folder, "usr/lib"))
            for name, goal in (("usr/lib/outward", "/lib/x.so"), ("usr/lib/beside", "x.so")):
                os.symlink(goal, os.path.join(folder, name))
            sysroot.turn_links_inward(folder)
            self.assertEqual(os.readlink(os.path.join(folder, "usr/lib/outward")),
                             folder + "/lib/x.so")
            self.assertEqual(os.readlink(os.path.join(folder, "usr/lib/beside")), "x.so")


class FramesTest(unittest.TestCase):
    def test_every_part_has_every_moment(self):
        names = ["01-1.png", "01-2.5.png", "02-1.png"]
        self.assertEqual(frames.missing(names, ("1", "2.5")), ["02-2.5.png"])
        self.assertEqual(frames.missing(names + ["02-2.5.png"], ("1", "2.5")), [])

    def test_a_part_is_missing(self):
        self.assertEqual(frames.missing(["01-1.png", "03-1.png"], ("1",)), ["02-1.png"])

    def test_what_is_bright_may_differ_more(self):
        self.assertTrue(frames.too_far(0.001, 0.0))
        self.assertFalse(frames.too_far(0.001, 0.02))


class EmulatorTest(unittest.TestCase):
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
        self.assertEqual(self.sections(), ["tests", "frames", "show", "wayland"])
        self.assertEqual(self.sections("wayland", "tests"), ["tests", "wayland"])

    def test_what_is_no_section_is_refused(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            self.sections("toys")

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
