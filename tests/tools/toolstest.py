"""What all tools have in common, and how tests are counted."""

import glob
import os
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def programs():
    """Those that say that they answer --help. Nobody else is asked: it would do its work."""
    for path in sorted([*glob.glob(os.path.join(ROOT, "tools/*")), os.path.join(ROOT, "check"),
                        os.path.join(ROOT, "play")]):
        if os.path.isfile(path) and os.access(path, os.X_OK):
            with open(path, encoding="utf-8") as file:
                text = file.read()
            marks = ("help_if_asked", "--help)", "argparse", "commandline")
            if any(mark in text for mark in marks):
                yield path


class HelpTest(unittest.TestCase):
    def test_every_tool_tells_how_it_is_used(self):
        found = list(programs())
        self.assertGreater(len(found), 10)
        for path in found:
            with self.subTest(os.path.basename(path)):
                told = subprocess.run([path, "--help"], capture_output=True, text=True, timeout=20,
                                      stdin=subprocess.DEVNULL, check=False, cwd="/")
                self.assertEqual((told.returncode, told.stderr), (0, ""))
                self.assertIn(os.path.basename(path), told.stdout)
                self.assertNotIn("set -", told.stdout)


class WithXvfbTest(unittest.TestCase):
    def test_exit_code_is_the_commands(self):
        tool = os.path.join(ROOT, "tools/with-xvfb")
        told = subprocess.run([tool, "sh", "-c", "echo $DISPLAY; exit 3"], capture_output=True,
                              text=True, check=False)
        self.assertEqual(told.returncode, 3)
        self.assertRegex(told.stdout, "^:[0-9]+\n$")


class SummaryTest(unittest.TestCase):
    def summary(self, log):
        """The last line, and the exit code."""
        with tempfile.NamedTemporaryFile("w", suffix=".log") as file:
            file.write(log)
            file.flush()
            told = subprocess.run([os.path.join(ROOT, "tools/summarise-tests"), file.name],
                                  capture_output=True, text=True, check=False)
        return told.stdout.strip().rpartition("\n")[2], told.returncode

    def test_qt(self):
        log = ("1/2 Testing: onetest\nPASS   : OneTest::initTestCase()\nPASS   : OneTest::a()\n"
               "PASS   : OneTest::b()\nTest Passed.\n")
        self.assertEqual(self.summary(log), ("2 passed, 0 failed", 0))
        self.assertEqual(self.summary(log + "2/2 Testing: two\nFAIL!  : Two::a() no\n"
                                      "Test Failed.\n"), ("2 passed, 1 failed", 1))

    def test_python(self):
        log = ("1/1 Testing: onetest\ntest_a (onetest.A.test_a) ... ok\n"
               "test_b (onetest.A.test_b) ... skipped 'why'\nTest Passed.\n")
        self.assertEqual(self.summary(log), ("1 passed, 0 failed, 1 skipped", 0))
        self.assertEqual(self.summary(log + "test_c (onetest.A.test_c) ... FAIL\nTest Failed.\n"),
                         ("1 passed, 1 failed, 1 skipped", 1))

    def test_a_program_that_died(self):
        self.assertEqual(self.summary("1/1 Testing: onetest\nPASS   : OneTest::a()\n"
                                      "Test Failed.\n"), ("1 passed, 1 failed", 1))

    def test_nothing_is_no_success(self):
        self.assertEqual(self.summary(""), ("0 passed, 0 failed", 1))


if __name__ == "__main__":
    unittest.main()
