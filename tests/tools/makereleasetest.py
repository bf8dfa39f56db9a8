"""What tools/make-release packs, compares and tells, with packages that are no packages, and what
starts the show in the pack, with a show that is none."""

import contextlib
import io
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
import zipfile
from unittest import mock

from makerelease import archive, commandline, contents, packages, party
from surroundings.surrounding import CannotStart
from surroundings.waiting import wait_until


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
        self.write(results, **{archive.SUMS: "of the last time"})
        archive.write_sums(results)
        told = subprocess.run(["sha256sum", "--check", "SHA256SUMS"], cwd=results,
                              capture_output=True, text=True, check=False)
        self.assertEqual((told.returncode, told.stdout), (0, "a.deb: OK\n"))


class LookTest(Folders):
    def look(self, code):
        results = self.folders[2]
        answer = mock.Mock(returncode=code, stdout="W: pixmoth: no-such-thing\n", stderr="")
        run = mock.Mock(return_value=answer)
        log_path = os.path.join(self.folders[1], "lintian.txt")
        with mock.patch.object(packages.subprocess, "run", run):
            well = packages.look(["a.dsc", "a.tar.xz", "a.deb"], results, log_path)
        # It does not take an archive.
        self.assertEqual([word for word in run.call_args.args[0] if word.startswith("a.")],
                         ["a.dsc", "a.deb"])
        with open(log_path, encoding="utf-8") as file:
            self.assertIn("no-such-thing", file.read())
        return well

    def test_code_decides(self):
        self.assertTrue(self.look(0))
        self.assertEqual(self.told.getvalue(), "")
        self.assertFalse(self.look(2))
        self.assertIn("no-such-thing", self.told.getvalue())


class LintianTest(Folders):
    """Of a package that it finds nothing in."""

    CONTROL = ("Package: nothing\nVersion: 1\nArchitecture: all\nSection: misc\nPriority: optional\n"
               "Maintainer: Nobody <nobody@nothing.invalid>\nDescription: package without a purpose\n"
               " It is for those who look at packages, and has nothing else in it.\n")
    CHANGES = ("nothing (1) unstable; urgency=medium\n\n  * First release.\n\n"
               " -- Nobody <nobody@nothing.invalid>  Sun, 22 Nov 2026 06:00:00 +0000\n")

    def look(self, overrides, place="usr/share/nothing"):
        root, _, results = self.folders
        for name, text in (("DEBIAN/control", self.CONTROL),
                           ("usr/share/doc/nothing/copyright", "Copyright 2026 Nobody\n"),
                           ("usr/share/doc/nothing/changelog", self.CHANGES),
                           (os.path.join(place, "nothing"), "Nothing.\n"),
                           ("usr/share/lintian/overrides/nothing", overrides)):
            path = os.path.join(root, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)
        subprocess.run(["gzip", "-9n", os.path.join(root, "usr/share/doc/nothing/changelog")],
                       check=True)
        subprocess.run(f"umask 022 && chmod -R u=rwX,go=rX {root} && "
                       f"dpkg-deb --root-owner-group --build {root} {results}/nothing.deb",
                       shell=True, check=True, stdout=subprocess.DEVNULL)
        return packages.look(["nothing.deb"], results, os.path.join(results, "said"))

    def test_a_finding_of_a_later_release_may_be_overridden(self):
        self.assertTrue(self.look("nothing: a-finding-that-no-release-has-yet *\n"),
                        self.told.getvalue())

    def test_one_of_this_release_counts(self):
        self.assertFalse(self.look("", place="usr/local/nothing"))


class BuildTest(Folders):
    def build(self, code):
        run = mock.Mock(return_value=code)
        with mock.patch.object(packages.processes, "run", run), \
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
    def pack(self, *words, looks=True, same=True):
        """Whether all went well, how often packages were built, and whether the party gets any."""
        results = self.folders[2]
        makes = mock.Mock()
        with mock.patch.multiple(packages, build=mock.Mock(return_value="folder"),
                                 collect=mock.Mock(return_value=["a.deb"]),
                                 look=mock.Mock(return_value=looks),
                                 compare=mock.Mock(return_value=same)), \
                mock.patch.multiple(commandline, Party=makes, RESULTS=results):
            well = commandline.pack(commandline.parse(words), "HEAD")
            self.assertEqual(os.listdir(results), [archive.SUMS])
            return well, packages.build.call_count, makes.return_value.make.call_count

    def test_what_counts(self):
        self.assertEqual(self.pack(), (True, 1, 1))
        self.assertEqual(self.pack("party"), (True, 0, 1))
        self.assertEqual(self.pack("packages"), (True, 1, 0))
        self.assertEqual(self.pack("packages", "--twice"), (True, 2, 0))
        self.assertEqual(self.pack(looks=False), (False, 1, 1))
        self.assertEqual(self.pack("--twice", looks=False), (False, 2, 1))
        self.assertEqual(self.pack("--twice", same=False), (False, 2, 1))

    def test_only_packages_are_compared(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            commandline.parse(["party", "--twice"])


class ZipTest(Folders):
    EPOCH = 1795334400

    def zip_up(self, folder, name):
        path = os.path.join(self.folders[2], name)
        archive.zip_up(("b.txt", "a.txt"), folder, path, self.EPOCH)
        return path

    def test_the_same_files_are_the_same_archive(self):
        digests = []
        for folder in self.folders[:2]:
            self.write(folder, a_txt="x" * 5000, b_txt="y")
            os.chmod(os.path.join(folder, "b.txt"), 0o755)
            digests.append(archive.digest(self.zip_up(folder, f"{len(digests)}.zip")))
            os.utime(os.path.join(folder, "a.txt"), (1, 1))
        os.chmod(os.path.join(folder, "a.txt"), 0o600)
        digests.append(archive.digest(self.zip_up(folder, "2.zip")))
        self.assertEqual(len(set(digests)), 1)

    def test_order_times_and_modes(self):
        folder = self.folders[0]
        self.write(folder, a_txt="x", b_txt="y")
        os.chmod(os.path.join(folder, "b.txt"), 0o744)
        path = self.zip_up(folder, "one.zip")
        with zipfile.ZipFile(path) as read:
            told = [(entry.filename, entry.external_attr >> 16, entry.date_time)
                    for entry in read.infolist()]
        at = time.gmtime(self.EPOCH)[:6]
        self.assertEqual(told, [("b.txt", 0o100755, at), ("a.txt", 0o100644, at)])


class PartyTest(Folders):
    """Of a commit whose program draws nothing, with a bundle and a film that are none."""

    def make(self):
        work, _, results = self.folders
        for name in (contents.FILM, contents.bundle(party.version(packages.ROOT))):
            with open(os.path.join(results, name), "w", encoding="utf-8") as file:
                file.write(name)

        def draw(made):
            for picture in contents.PICTURES:
                self.write(made.results, **{picture.name: picture.frame})

        with mock.patch.multiple(party.Party, draw_pictures=draw, make_bundle=mock.DEFAULT,
                                 film=mock.DEFAULT):
            party.Party("HEAD", ZipTest.EPOCH, work, results).make()
        return results

    def test_what_is_in_it(self):
        results, released = self.make(), party.version(packages.ROOT)
        path = os.path.join(results, contents.archive(released))
        with zipfile.ZipFile(path) as read:
            self.assertEqual(tuple(read.namelist()), contents.names(released))
            self.assertEqual(read.namelist()[0], "file_id.diz")
            self.assertIn(released, read.read("pixmoth.nfo").decode("ascii"))
            self.assertEqual(read.getinfo(contents.START).external_attr >> 16, 0o100755)
        # Nothing is released that the archive has not.
        self.assertEqual(set(os.listdir(results)) - {contents.archive(released)},
                         set(contents.names(released)))

    def test_a_step_that_fails_is_told(self):
        made = party.Party("commit", 0, self.folders[0], self.folders[2])
        with mock.patch.object(party.processes, "run", return_value=1):
            with self.assertRaisesRegex(CannotStart, "bundle"):
                made.make_bundle("1.0")
            with self.assertRaisesRegex(CannotStart, "pictures.log"):
                made.draw_pictures()


# Tells where it lies and what it is given, and ends with a code of its own.
SHOW = """#!/bin/sh
printf '%s\\n' "$0" "$@" >"$TOLD"
echo first >&2
echo last >&2
exit "$CODE"
"""


class StartTest(unittest.TestCase):
    NAME = "pixmoth-1.2-x86_64"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.here = self.path("a stick's \"place\" $HOME ä")
        for name in (self.here, self.path("tmp"), self.path("bin"), self.path("home")):
            os.mkdir(name)
        with open(os.path.join(packages.ROOT, "packaging/party/start"), encoding="utf-8") as file:
            self.write(os.path.join(self.here, "start"), contents.fill(file.read(), "1.2"))
        self.write(self.path("bin/zenity"), f'#!/bin/sh\necho "$@" >>{self.path("shown")}\n')
        self.write(self.path("bin/uname"), "#!/bin/sh\necho x86_64\n")
        for name in ("pixmoth", "bin/pixmoth"):
            self.write(os.path.join(self.here, self.NAME, name), SHOW)

    def path(self, name):
        return os.path.join(self.folder, name)

    @staticmethod
    def write(path, text):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o755)

    @staticmethod
    def read(path):
        if not os.path.exists(path):
            return ""
        with open(path, encoding="utf-8") as file:
            return file.read()

    def pack(self):
        """The folder into an archive, which stays."""
        folder = os.path.join(self.here, self.NAME)
        subprocess.run(["tar", "-cJf", folder + ".tar.xz", "-C", self.here, self.NAME], check=True)
        shutil.rmtree(folder)

    def start(self, *words, **changes):
        environment = {"PATH": self.path("bin") + ":/usr/bin:/bin", "DISPLAY": ":none",
                       "TMPDIR": self.path("tmp"), "HOME": self.path("home"), "CODE": "0",
                       "TOLD": self.path("told"), **changes}
        return subprocess.run([os.path.join(self.here, "start"), *words], capture_output=True,
                              text=True, check=False, env=environment, cwd="/", timeout=60)

    def played(self):
        return self.read(self.path("told"))

    def shown(self):
        return self.read(self.path("shown"))

    def test_a_bundle_that_is_unpacked(self):
        told = self.start("--one", "two words")
        self.assertEqual((told.returncode, told.stderr), (0, ""))
        self.assertEqual(self.played(),
                         f"{self.here}/{self.NAME}/pixmoth\n--one\ntwo words\n")
        self.assertEqual(os.listdir(self.path("tmp")), [])

    def test_an_archive_is_unpacked_and_goes_again(self):
        self.pack()
        self.assertEqual(self.start().returncode, 0)
        self.assertIn(self.path("tmp/pixmoth-"), self.played())
        self.assertEqual(os.listdir(self.path("tmp")), [])

    def test_a_place_where_nothing_may_be_run(self):
        self.pack()
        for name in ("pixmoth", "bin/pixmoth"):
            path = os.path.join(self.here, self.NAME, name)
            self.write(path, SHOW)
            os.chmod(path, 0o644)
        self.assertEqual(self.start(TMPDIR=self.path("nothing")).returncode, 0)
        self.assertIn(self.path("home/pixmoth-"), self.played())
        self.assertEqual(os.listdir(self.path("home")), [])

    def test_what_goes_wrong_is_told_and_shown(self):
        told = self.start(CODE="7")
        self.assertEqual((told.returncode, told.stderr), (7, "pixmoth: last\n"))
        self.assertIn("--text last", self.shown())

    def test_another_processor(self):
        self.write(self.path("bin/uname"), "#!/bin/sh\necho aarch64\n")
        told = self.start()
        self.assertEqual((told.returncode, self.played()), (1, ""))
        self.assertRegex(told.stderr, "^pixmoth: .*not for aarch64.*\n$")
        self.assertIn("aarch64", self.shown())

    def test_no_screen(self):
        told = self.start(DISPLAY="")
        self.assertEqual((told.returncode, self.played()), (1, ""))
        self.assertIn("no screen", told.stderr)
        self.assertEqual(self.start(DISPLAY="", WAYLAND_DISPLAY="w").returncode, 0)

    def test_an_archive_that_is_missing_or_broken(self):
        shutil.rmtree(os.path.join(self.here, self.NAME))
        told = self.start()
        self.assertEqual((told.returncode, told.stderr.count("\n")), (1, 1))
        self.assertIn("missing", told.stderr)
        self.write(os.path.join(self.here, self.NAME + ".tar.xz"), "nothing")
        told = self.start()
        self.assertEqual(told.returncode, 1)
        self.assertIn("cannot be unpacked", told.stderr)
        self.assertEqual(os.listdir(self.path("tmp")) + os.listdir(self.path("home")), [])

    def test_a_signal_leaves_nothing(self):
        self.pack()
        self.write(self.path("bin/tar"), f"#!/bin/sh\ntouch {self.path('tarred')}\nexec sleep 2\n")
        with subprocess.Popen([os.path.join(self.here, "start")], stdout=subprocess.DEVNULL,
                              env={"PATH": self.path("bin") + ":/usr/bin:/bin", "DISPLAY": ":none",
                                   "TMPDIR": self.path("tmp")}) as started:
            self.assertTrue(wait_until(lambda: os.path.exists(self.path("tarred")), 20))
            self.assertNotEqual(os.listdir(self.path("tmp")), [])
            started.send_signal(signal.SIGTERM)
            self.assertEqual(started.wait(20), 143)
        self.assertEqual(os.listdir(self.path("tmp")), [])


if __name__ == "__main__":
    unittest.main()
