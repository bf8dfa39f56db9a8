"""What tools/make-release packs, compares and tells, with packages that are no packages."""

import contextlib
import io
import os
import subprocess
import tempfile
import unittest
from unittest import mock

from makerelease import commandline, packages
from surroundings.surrounding import CannotStart


class Folders(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folders = []
        for name in ("first", "second", "results"):
            self.folders.append(os.path.join(folder.name, name))
            os.mkdir(self.folders[-1])
        self.told = io.StringIO()
        redirection = contextlib.redirect_stdout(self.told)
        redirection.__enter__()
        self.addCleanup(redirection.__exit__, None, None, None)

    def write(self, folder, **files):
        for name, text in files.items():
            path = os.path.join(folder, name.replace("_", "."))
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)


class CompareTest(Folders):
    def compare(self, first, second):
        one, two, results = self.folders
        self.write(one, **first)
        self.write(two, **second)
        return packages.compare(packages.collect(one, results), results, two)

    def test_the_same(self):
        files = {"a_deb": "x", "a_dsc": "y", "a.tar_xz": "z"}
        self.assertTrue(self.compare(files, files))
        self.assertIn("All 3 are the same", self.told.getvalue())

    def test_another_byte(self):
        self.assertFalse(self.compare({"a_deb": "x", "b_deb": "x"}, {"a_deb": "x", "b_deb": "y"}))
        self.assertIn("b.deb is not the same", self.told.getvalue())
        self.assertNotIn("a.deb is not", self.told.getvalue())

    def test_one_is_missing(self):
        self.assertFalse(self.compare({"a_deb": "x", "b_deb": "x"}, {"a_deb": "x"}))
        self.assertIn("b.deb is not the same", self.told.getvalue())

    def test_one_is_new(self):
        self.assertFalse(self.compare({"a_deb": "x"}, {"a_deb": "x", "b_deb": "x"}))
        self.assertIn("b.deb is not the same", self.told.getvalue())

    def test_records_of_the_build_may_differ(self):
        self.assertTrue(self.compare({"a_deb": "x", "a_buildinfo": "monday"},
                                     {"a_deb": "x", "a_buildinfo": "tuesday"}))


class CollectTest(Folders):
    def test_sums_can_be_checked(self):
        one, _, results = self.folders
        self.write(one, a_deb="x", a_changes="y")
        self.assertEqual(packages.collect(one, results), ["a.deb"])
        told = subprocess.run(["sha256sum", "--check", "SHA256SUMS"], cwd=results,
                              capture_output=True, text=True, check=False)
        self.assertEqual((told.returncode, told.stdout), (0, "a.deb: OK\n"))


class LookTest(Folders):
    def look(self, code):
        results = self.folders[2]
        answer = mock.Mock(returncode=code, stdout="W: pixmoth: no-such-thing\n", stderr="")
        run = mock.Mock(return_value=answer)
        with mock.patch.object(packages.subprocess, "run", run):
            well = packages.look(["a.dsc", "a.tar.xz", "a.deb"], results)
        # It does not take an archive.
        self.assertEqual([word for word in run.call_args.args[0] if word.startswith("a.")],
                         ["a.dsc", "a.deb"])
        with open(os.path.join(results, "lintian.txt"), encoding="utf-8") as file:
            self.assertIn("no-such-thing", file.read())
        return well

    def test_code_decides(self):
        self.assertTrue(self.look(0))
        self.assertEqual(self.told.getvalue(), "")
        self.assertFalse(self.look(2))
        self.assertIn("no-such-thing", self.told.getvalue())


class BuildTest(Folders):
    def build(self, code):
        run = mock.Mock(return_value=mock.Mock(returncode=code))
        with mock.patch.object(packages.subprocess, "run", run), \
                mock.patch.object(packages, "unpack"), \
                mock.patch.dict(os.environ, CXXFLAGS="-g", HOME="/nowhere"):
            packages.build("commit", self.folders[0])
        return run.call_args

    def test_nothing_of_whoever_runs_it_gets_in(self):
        environment = self.build(0).kwargs["env"]
        self.assertNotIn("CXXFLAGS", environment)
        self.assertEqual(environment["HOME"], "/nowhere")

    def test_failure_is_told(self):
        with self.assertRaisesRegex(CannotStart, "build.log"):
            self.build(2)

    def test_only_what_is_committed_is_packed(self):
        packages.unpack("HEAD", self.folders[0])
        tracked = subprocess.run(
            ["git", "-c", "safe.directory=*", "-C", packages.ROOT, "ls-tree", "--name-only",
             "HEAD"], capture_output=True, text=True, check=True).stdout.split()
        self.assertEqual(sorted(os.listdir(self.folders[0])), sorted(tracked))

    def test_a_commit_that_is_not_there(self):
        with self.assertRaises(CannotStart):
            packages.unpack("0" * 40, self.folders[0])


class PackTest(Folders):
    def pack(self, twice, looks=True, same=True):
        with mock.patch.multiple(packages, build=mock.Mock(return_value="folder"),
                                 collect=mock.Mock(return_value=["a.deb"]),
                                 look=mock.Mock(return_value=looks),
                                 compare=mock.Mock(return_value=same)):
            return commandline.pack("commit", twice), packages.build.call_count

    def test_what_counts(self):
        self.assertEqual(self.pack(False), (True, 1))
        self.assertEqual(self.pack(True), (True, 2))
        self.assertEqual(self.pack(False, looks=False), (False, 1))
        self.assertEqual(self.pack(True, looks=False), (False, 2))
        self.assertEqual(self.pack(True, same=False), (False, 2))


if __name__ == "__main__":
    unittest.main()
