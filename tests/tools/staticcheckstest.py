"""What tools/static-checks counts, with scripts that stand for the tools it asks."""

import os
import shutil
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# What --version answers: of a release that the checks were made for, and of none.
KNOWN = {"clang-format": "Debian clang-format version 19.1.7 (3)",
         "clang-tidy": "Debian LLVM version 14.0.6", "cppcheck": "Cppcheck 2.10",
         "shellcheck": "version: 0.10.0", "pyflakes3": "3.2.0 Python 3.13.5 on Linux",
         "appstreamcli": "AppStream version: 1.0.5"}
NEWER = {"clang-format": "Debian clang-format version 99.1.0", "clang-tidy": "LLVM version 99.1.0",
         "cppcheck": "Cppcheck 9.19", "shellcheck": "version: 9.10.0",
         "pyflakes3": "9.2.0 Python 3.99.0", "appstreamcli": "AppStream version: 9.0.5"}
FINDINGS = {
    "clang-format": "src/a.cpp:1:2: error: code should be clang-formatted "
                    "[-Wclang-format-violations]",
    "clang-tidy": "src/a.cpp:1:2: error: a twin [misc-redundant-expression,-warnings-as-errors]",
    "cppcheck": "src/a.cpp:1:2: performance: by value [returnByReference]",
    "shellcheck": "In a.sh line 2:\n^-- SC2086 (info): Double quote to prevent globbing.",
    "pyflakes3": "a.py:1:1: 'os' imported but unused",
    "appstreamcli": "W: pixmoth:4: no-such-thing"}
# What a tool ends with that has found something, where that is not 1.
CODES = {"appstreamcli": 3}
# Those whose findings count with any release, and what they end with.
STEADY = {"desktop-file-validate": 1, "mandoc": 2, "xmllint": 1}


class StaticChecksTest(unittest.TestCase):
    def setUp(self):
        """A project with a file of each kind, and tools that find nothing."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = os.path.join(folder.name, "project")
        self.programs = os.path.join(folder.name, "bin")
        for path in (os.path.join(self.root, "tools"), os.path.join(self.root, "src"),
                     self.programs):
            os.makedirs(path)
        for name in ("static-checks", "common.sh"):
            shutil.copy(os.path.join(ROOT, "tools", name), os.path.join(self.root, "tools"))
        for name in ("src/a.cpp", "src/a.h", "a.sh", "a.py", ".clang-tidy", "a.desktop",
                     "a.metainfo.xml", "a.6.in", "a.svg"):
            with open(os.path.join(self.root, name), "w", encoding="utf-8") as file:
                file.write("\n")
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
        for tool in (*KNOWN, *STEADY):
            self.install(tool, KNOWN)

    def install(self, tool, releases, says="", code=0):
        path = os.path.join(self.programs, tool)
        release = releases.get(tool, "")
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\n[ $1 != --version ] || {{ echo '{release}'; exit; }}\n"
                       f'cat <<"END"\n{says}\nEND\nexit {code}\n')
        os.chmod(path, 0o755)

    def look(self, **changes):
        """The exit code, and the lines. `changes` of the environment."""
        told = subprocess.run(
            [os.path.join(self.root, "tools/static-checks")], capture_output=True, text=True,
            check=False, stdin=subprocess.DEVNULL, timeout=60,
            env=dict(os.environ, PATH=self.programs + ":" + os.environ["PATH"], **changes))
        return told.returncode, told.stdout.splitlines()

    def test_nothing_is_found(self):
        code, lines = self.look()
        self.assertEqual((code, lines[-1]), (0, "Static checks: nothing found"))

    def test_findings_of_a_known_release_count(self):
        for tool, says in FINDINGS.items():
            with self.subTest(tool):
                self.install(tool, KNOWN, says, CODES.get(tool, 1))
                # What was passed before is not looked at again.
                shutil.rmtree(os.path.join(self.root, "build"), ignore_errors=True)
                code, lines = self.look()
                self.assertEqual(code, 1)
                self.assertIn(says.splitlines()[-1], lines)
                self.install(tool, KNOWN)

    def test_findings_of_another_release_are_told_in_a_line_each(self):
        for tool, says in FINDINGS.items():
            self.install(tool, NEWER, says + "\n" + says, CODES.get(tool, 1))
        code, lines = self.look()
        self.assertEqual(code, 0)
        told = [line for line in lines if line.startswith("NOT COUNTED: ")]
        self.assertEqual([line.split()[2] for line in told], list(FINDINGS))
        self.assertEqual(lines[-1], "Static checks: nothing found that counts")
        for tool, line in zip(FINDINGS, told):
            with self.subTest(tool):
                self.assertIn(" finds 2 ", line)
                with open(os.path.join(self.root, line.split()[-1]), encoding="utf-8") as log:
                    self.assertIn(FINDINGS[tool], log.read())

    def test_findings_of_a_tool_without_tastes_count(self):
        for tool, code in STEADY.items():
            with self.subTest(tool):
                self.install(tool, NEWER, "it is wrong", code)
                code, lines = self.look()
                self.assertEqual(code, 1)
                self.assertIn("it is wrong", lines)
                self.install(tool, NEWER)

    def test_another_release_without_findings_is_not_told(self):
        for tool in KNOWN:
            self.install(tool, NEWER)
        self.assertEqual(self.look()[1][1:], ["Static checks: nothing found"])

    def test_a_tool_that_breaks_down_counts_with_any_release(self):
        for tool, says in FINDINGS.items():
            for words, code in ((says, 139), ("unknown option", 1), ("", 127)):
                with self.subTest(tool, code=code):
                    self.install(tool, NEWER, words, code)
                    self.assertEqual(self.look()[0], 1)
                    self.install(tool, NEWER)

    def test_what_does_not_compile_counts_with_any_release(self):
        self.install("clang-tidy", NEWER, FINDINGS["clang-tidy"] + "\nsrc/a.cpp:3:4: error: "
                     "unknown type name [clang-diagnostic-error]", 1)
        self.assertEqual(self.look()[0], 1)

    def test_a_file_that_passed_is_looked_at_again_by_another_release(self):
        self.assertEqual(self.look()[0], 0)
        self.install("clang-tidy", KNOWN, FINDINGS["clang-tidy"], 1)
        self.assertEqual(self.look()[0], 0)
        self.install("clang-tidy", {"clang-tidy": "LLVM version 19.1.7"}, FINDINGS["clang-tidy"], 1)
        self.assertEqual(self.look()[0], 1)

    def test_a_checkout_may_be_somebody_elses(self):
        self.assertEqual(self.look(GIT_TEST_ASSUME_DIFFERENT_OWNER="1")[0], 0)

    def test_no_files_are_no_success(self):
        shutil.rmtree(os.path.join(self.root, ".git"))
        self.assertEqual(self.look()[0], 1)


if __name__ == "__main__":
    unittest.main()
