"""What tools/try-releases reads, decides and tells, with a system that is no system; and that what
it runs in a namespace does not outlive it."""

import contextlib
import io
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from unittest import mock

from surroundings.surrounding import CannotStart
from surroundings.waiting import wait_until
from tryreleases import commandline, readings, system, trial
from tryreleases.film import Film
from tryreleases.readings import Counts
from tryreleases.system import System
from tryreleases.table import table
from tryreleases.trial import Outcome, Trial, Visit

WARNED = ("/p/src/a.h:3:5: warning: unused variable 'x' [-Wunused-variable]\n"
          "    3 | int x;\n")
CHECKED = ("Test project /p/build/debug\n"
           "      Start  1: onetest\n"
           " 1/2 Test  #1: onetest ...................   Passed    0.10 sec\n"
           "Static checks of 300 C++ files: about 2 minutes\n"
           "Static checks: nothing found\n\n"
           "1702 passed, 0 failed\n")


class CheckTest(unittest.TestCase):
    def test_all_is_well(self):
        check = readings.read_check("Setting up\n" + CHECKED)
        self.assertEqual((check.warnings, check.counts, check.failed, check.static_checks,
                          check.not_counted),
                         (frozenset(), Counts(1702, 0), (), "nothing found", ()))

    def test_a_warning_is_counted_once(self):
        check = readings.read_check(WARNED + WARNED + WARNED.replace(":3:", ":4:") + CHECKED)
        self.assertEqual(len(check.warnings), 2)

    def test_only_the_build_warns(self):
        self.assertEqual(readings.read_check(CHECKED + WARNED).warnings, frozenset())

    def test_a_build_that_failed_has_warnings_and_nothing_else(self):
        check = readings.read_check(WARNED + "ninja: build stopped: subcommand failed.\n")
        self.assertEqual((len(check.warnings), check.counts, check.static_checks), (1, None, ""))

    def test_warnings_of_all_kinds(self):
        for line in ("a.cpp:1:2: warning: x", "/usr/bin/ld: warning: x", "cc1plus: warning: x",
                     "CMake Warning at CMakeLists.txt:3:", "CMake Deprecation Warning:",
                     "a.h:1: Warning: x", "AutoMoc warning: x"):
            with self.subTest(line):
                self.assertEqual(len(readings.warnings(line)), 1)

    def test_what_is_no_warning(self):
        for line in ("a.cpp:1:2: note: x", "Building CXX object warningboxtest.cpp.o",
                     "-- warnings: none", "-Wno-deprecated-declarations"):
            with self.subTest(line):
                self.assertEqual(readings.warnings(line), frozenset())

    def test_failures_have_names(self):
        check = readings.read_check(
            "Test project /p\n"
            "FAIL!  : OneTest::a(row) Compared values are not the same\n"
            "   Loc: [a.cpp(3)]\n"
            "PASS   : OneTest::b()\n"
            "test_c (onetest.A.test_c) ... FAIL\n"
            "test_d (onetest.A.test_d) ... ok\n"
            "3 passed, 2 failed, 1 skipped\n")
        self.assertEqual(check.failed, ("OneTest::a(row) Compared values are not the same",
                                        "test_c (onetest.A.test_c)"))
        self.assertEqual(check.counts, Counts(3, 2, 1))

    def test_findings_that_do_not_count(self):
        check = readings.read_check(
            "NOT COUNTED: clang-format 99.1 finds 3 things: see x\n"
            "Static checks: nothing found that counts\n1 passed, 0 failed\n")
        self.assertEqual(check.static_checks, "nothing found that counts")
        self.assertEqual(check.not_counted, ("clang-format 99.1 finds 3 things: see x",))

    def test_findings_that_count(self):
        check = readings.read_check("Static checks of 300 C++ files\na.cpp:1:2: error\n"
                                    "1 passed, 0 failed\n")
        self.assertEqual(check.static_checks, "")


class TableTest(unittest.TestCase):
    def test_a_line_for_each(self):
        well = Outcome("here", {"g++": "12.2.0", "Qt": "5.15.8", "Mesa": "22.3.6"},
                       Visit(readings.read_check(CHECKED), frozenset(), Film(94.04, 61.2, "")),
                       Visit(readings.read_check(CHECKED)))
        head, first, second = table([well, Outcome("nowhere")]).splitlines()
        cells = [cell.strip() for cell in first.split("  ") if cell]
        self.assertEqual(cells, ["here", "12.2.0", "5.15.8", "22.3.6", "0", "1702/1702",
                                 "nothing found", "94.0 s, 61 MB, heard", "1702/1702", "-"])
        self.assertEqual(second.split(), ["nowhere", "-", "-", "-", "0", *["-"] * 5])
        self.assertEqual(head.index("film"), first.index("94.0 s"))

    def test_what_went_wrong_is_seen(self):
        check = readings.read_check(WARNED + CHECKED.replace("nothing found", "")
                                    .replace("1702 passed, 0", "1700 passed, 2"))
        told = table([Outcome("here", {}, Visit(check, frozenset({"b", "c"}),
                                                Film(9, 1, "silence")),
                              Visit(None, frozenset({"d"})))])
        for words in ("  4  ", "1700/1702", "not passed", "9.0 s, 1 MB, silence"):
            self.assertIn(words, told)


class FakeSystem:
    """Commands write and return what a test has told."""

    def __init__(self, folder, _keep):
        self.folder = folder
        self.ended = 0

    def make(self, release, *_):
        if release == "nowhere":
            raise CannotStart("the system could not be made")
        os.makedirs(self.path("build"))

    def check_out(self, *_):
        pass

    def path(self, name):
        return os.path.join(self.folder, name)

    def run(self, command, log, _limit_s, user="root"):
        FakeSystem.calls.append((user, command[-1]))
        for words, (code, says) in FakeSystem.answers.items():
            if words in command[-1]:
                print(says, file=log, flush=True)
                return code
        return 0

    def remove(self):
        pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        FakeSystem.ends.append(self.folder)


class TrialTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.results = folder.name
        FakeSystem.calls, FakeSystem.ends = [], []
        FakeSystem.answers = {"./check": (0, CHECKED), "pkg-config": (0, "5.15.8")}
        for module, name, value in ((trial, "RESULTS", self.results),
                                    (trial, "System", FakeSystem)):
            patch = mock.patch.object(module, name, value)
            patch.start()
            self.addCleanup(patch.stop)

    def go(self, *releases, only=""):
        """The outcomes, and what was told."""
        told = io.StringIO()
        with contextlib.redirect_stdout(told):
            outcomes = [Trial(name, "commit", "mirror", only).go() for name in releases]
        return outcomes, told.getvalue()

    def steps(self):
        return [(user, command.rpartition(" ")[2]) for user, command in FakeSystem.calls
                if "exec" in command]

    def test_all_is_well(self):
        (outcome,), _ = self.go("here")
        self.assertEqual(outcome.complaints, [])
        self.assertEqual(outcome.versions["Qt"], "5.15.8")
        self.assertEqual(self.steps(), [("guest", "./check"), ("guest", "./play"),
                                        ("root", "./check"), ("root", "./play")])

    def test_only_one(self):
        self.go("here", only="play")
        self.assertEqual(self.steps(), [("guest", "./play"), ("root", "./play")])
        FakeSystem.calls.clear()
        self.go("here", only="check")
        self.assertEqual(self.steps(), [("guest", "./check"), ("root", "./check")])

    def test_a_step_that_fails_is_no_end(self):
        FakeSystem.answers["./check"] = (1, CHECKED.replace("0 failed", "1 failed"))
        (outcome,), told = self.go("here")
        self.assertEqual(len(outcome.complaints), 2)
        self.assertIn("./check ended for guest with code 1", told)
        self.assertIn("./check ended for root with code 1", told)
        self.assertEqual(len(self.steps()), 4)

    def test_a_warning_is_a_complaint(self):
        FakeSystem.answers["./check"] = (0, WARNED + CHECKED)
        (outcome,), _ = self.go("here", only="check")
        self.assertEqual(outcome.complaints, ["warnings for guest: 1", "warnings for root: 1"])

    def test_a_release_that_cannot_be_made_is_not_the_last(self):
        (nowhere, here), told = self.go("nowhere", "here")
        self.assertEqual(len(nowhere.complaints), 1)
        self.assertIn("nowhere: the system could not be made", told)
        self.assertEqual((here.complaints, here.user.check.counts), ([], Counts(1702, 0)))

    def test_systems_end_with_their_trials(self):
        self.go("nowhere", "here")
        self.assertEqual(FakeSystem.ends, [os.path.join(self.results, name, "system")
                                           for name in ("nowhere", "here")])
        FakeSystem.run, run = mock.Mock(side_effect=KeyboardInterrupt), FakeSystem.run
        self.addCleanup(setattr, FakeSystem, "run", run)
        with self.assertRaises(KeyboardInterrupt):
            self.go("here")
        self.assertEqual(len(FakeSystem.ends), 3)

    def test_old_results_go(self):
        os.makedirs(os.path.join(self.results, "here"))
        film = os.path.join(self.results, "here/pixmoth.mp4")
        with open(film, "w", encoding="utf-8"):
            pass
        self.go("here")
        self.assertFalse(os.path.exists(film))


class SystemTest(unittest.TestCase):
    def test_a_system_is_removed(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "system")
            for keep in (True, False):
                os.makedirs(path, exist_ok=True)
                with contextlib.redirect_stdout(io.StringIO()), System(path, keep):
                    pass
                self.assertEqual(os.path.exists(path), keep)


# Root's, or those of a user who is root in them.
NAMESPACES = system.NAMESPACES if os.geteuid() == 0 else (
    *system.NAMESPACES, "--user", "--map-root-user")


def namespaces_can_be_made():
    return subprocess.run([*NAMESPACES, "true"], check=False,
                          stderr=subprocess.DEVNULL).returncode == 0


@unittest.skipUnless(namespaces_can_be_made(), "not in a container that allows no namespaces")
class NamespaceTest(unittest.TestCase):
    """Each test has processes with a number of seconds of its own to sleep."""

    def setUp(self):
        self.log = tempfile.TemporaryFile("w+")
        self.addCleanup(self.log.close)
        self.system = System("/nonexistent")
        patch = mock.patch.object(system, "NAMESPACES", NAMESPACES)
        patch.start()
        self.addCleanup(patch.stop)

    @staticmethod
    def sleepers(seconds):
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            with contextlib.suppress(OSError), open(f"/proc/{pid}/cmdline", "rb") as file:
                if file.read().split(b"\0")[:2] == [b"sleep", seconds.encode()]:
                    found.append(int(pid))
        return found

    def test_exit_code_and_words(self):
        self.assertEqual(self.system.call(["sh", "-c", "echo said; exit 3"], self.log, 20), 3)
        self.log.seek(0)
        self.assertEqual(self.log.read(), "said\n")

    def test_what_takes_too_long_is_killed(self):
        script = "setsid sleep 611 & sleep 611"
        begin = time.monotonic()
        self.assertNotEqual(self.system.call(["sh", "-c", script], self.log, 1), 0)
        self.assertLess(time.monotonic() - begin, 20)
        self.assertTrue(wait_until(lambda: not self.sleepers("611"), 10))

    def test_nothing_outlives_a_tool_that_is_killed(self):
        tool = subprocess.Popen([sys.executable, "-c", f"""
import sys
from tryreleases import system
system.NAMESPACES = {NAMESPACES}
system.System("/nonexistent").call(["sh", "-c", "setsid sleep 613 & sleep 613"], sys.stdout, 60)
"""])
        self.addCleanup(tool.wait)
        self.addCleanup(tool.kill)
        self.assertTrue(wait_until(lambda: len(self.sleepers("613")) == 2, 20))
        tool.send_signal(signal.SIGKILL)
        self.assertTrue(wait_until(lambda: not self.sleepers("613"), 10))


# A trial that takes a while to clean up.
SLOW_TRIAL = """
import os, sys, time
from tryreleases import commandline

class Slow:
    def __enter__(self):
        pass

    def __exit__(self, *_):
        print("removing", flush=True)
        sys.stdin.readline()
        print("removed", flush=True)

def run(*_):
    with Slow():
        print("ready", flush=True)
        time.sleep(60)

commandline.run = run
os.geteuid = lambda: 0
sys.argv = ["try-releases"]
sys.exit(commandline.main())
"""


class RunTest(unittest.TestCase):
    def run_trials(self, *ends):
        """What is told, and the exit code, or None where it was ended."""
        trials = mock.Mock(side_effect=[mock.Mock(go=mock.Mock(side_effect=[end])) for end in ends])
        told, code = io.StringIO(), None
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stdout(told), \
                contextlib.suppress(SystemExit), mock.patch.multiple(
                    commandline, RESULTS=folder, Trial=trials, subprocess=mock.Mock(
                        run=mock.Mock(return_value=mock.Mock(returncode=0)))):
            options = commandline.parse(["one", "two"][:len(ends)])
            code = commandline.run(options, "commit")
            with open(os.path.join(folder, "table.txt"), encoding="utf-8") as file:
                self.assertIn(file.read(), told.getvalue())
        return told.getvalue(), code

    def test_one_complaint_is_a_failure(self):
        self.assertEqual(self.run_trials(Outcome("one"), Outcome("two"))[1], 0)
        told, code = self.run_trials(Outcome("one", complaints=["no"]), Outcome("two"))
        self.assertEqual(code, 1)
        self.assertRegex(told, "(?m)^release .*\n^one .*\n^two ")

    def test_what_was_tried_until_the_end_is_told(self):
        told, code = self.run_trials(Outcome("one"), SystemExit(143))
        self.assertIsNone(code)
        self.assertRegex(told, "(?m)^one ")


class InterruptionTest(unittest.TestCase):
    def test_nothing_keeps_it_from_removing(self):
        with subprocess.Popen([sys.executable, "-c", SLOW_TRIAL], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True) as tool:
            self.addCleanup(tool.kill)
            for line, send in (("ready\n", signal.SIGTERM), ("removing\n", signal.SIGINT)):
                while tool.stdout.readline() not in (line, ""):
                    pass
                tool.send_signal(send)
            told, _ = tool.communicate("\n", 20)
        self.assertIn("removed", told)
        self.assertEqual(tool.returncode, 128 + signal.SIGTERM)


class CommandLineTest(unittest.TestCase):
    def test_defaults(self):
        options = commandline.parse([])
        self.assertEqual(options.releases, ["bookworm", "trixie", "forky", "sid"])
        self.assertEqual((options.only, options.keep), ("", False))

    def test_each_release_once(self):
        self.assertEqual(commandline.parse(["sid", "trixie", "sid"]).releases, ["sid", "trixie"])

    def test_what_is_no_name_is_refused(self):
        for words in (["../.."], ["-x"], [""], ["--only", "sing"]):
            with self.subTest(words), contextlib.redirect_stderr(io.StringIO()), \
                    self.assertRaises(SystemExit):
                commandline.parse(words)

    def test_variable_is_a_default(self):
        with mock.patch.dict(os.environ, DEBIAN_MIRROR="http://here"):
            self.assertEqual(commandline.parse([]).mirror, "http://here")
            self.assertEqual(commandline.parse(["--mirror", "there"]).mirror, "there")


if __name__ == "__main__":
    unittest.main()
