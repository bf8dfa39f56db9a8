"""What a tool has started ends with it, whatever ends the tool."""

import contextlib
import os
import signal
import subprocess
import sys
import tempfile
import unittest

from surroundings import processes
from surroundings.waiting import wait_until

# Of a program that has others work for it: one in a group of its own, as build tools have them, and
# one that takes no hint. What it writes is who they are.
BUSY = """
set -m
(trap '' TERM HUP INT; exec sleep 617) &
sleep 617 &
echo $$ $(jobs -p) >"$1.new"
mv "$1.new" "$1"
wait
"""
# How tools start what takes long. Each has the path that BUSY writes to as its argument.
STEP = """
from surroundings.workplace import Workplace

def work():
    with Workplace(sys.argv[1] + ".results") as place:
        place.step("log", BUSY)
"""
BUILD = """
import os
from unittest import mock
from makerelease import packages

def work():
    folder = sys.argv[1] + ".folder"
    os.makedirs(folder)
    with open(os.path.join(folder, "dpkg-buildpackage"), "w") as file:
        file.write("#!/bin/sh\\nexec " + shlex.join(BUSY))
    os.chmod(file.name, 0o755)
    os.environ["PATH"] = folder + ":" + os.environ["PATH"]
    with mock.patch.object(packages, "unpack"):
        packages.build("commit", os.path.join(folder, "build"))
"""
FILM = """
from unittest import mock
from filming import release

def work():
    run = release.processes.run
    with mock.patch.object(release.processes, "run", lambda _, **how: run(BUSY, **how)):
        release.film_show("film", "program")
"""
# Has something to take away first, which takes a while, and those who work for it to end.
TIDY = """
from surroundings import processes

def work():
    processes.run(["bash", "-c", 'trap "sleep 1; rm $1.kept; kill %1; exit" TERM; touch $1.kept;'
                   'sleep 617 & echo $$ $! >$1.new; mv $1.new $1; wait', "tidy", sys.argv[1]],
                  asks={asks})
"""
TOOL = """
import shlex, sys
from surroundings import processes
from surroundings.commandline import exit_code
BUSY = ["bash", "-c", {busy!r}, "busy", sys.argv[1]]
processes.REST_ENDS_WITHIN_S = 1
{work}
sys.exit(exit_code("tool", work))
"""


def lives(pid):
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    return True


def kill(pids):
    for pid in pids:
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, signal.SIGKILL)


class EndTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "session")

    def end(self, work, number):
        """The tool's exit code, and whether nothing is left of what it has started."""
        with subprocess.Popen(
                [sys.executable, "-c", TOOL.format(busy=BUSY, work=work), self.path],
                stdout=subprocess.DEVNULL,
                # A shell's background jobs ignore it, and hand that down.
                preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL)) as tool:
            self.addCleanup(tool.kill)
            self.assertTrue(wait_until(lambda: os.path.exists(self.path), 20))
            with open(self.path, encoding="ascii") as file:
                started = [int(pid) for pid in file.read().split()]
            self.addCleanup(kill, started)
            tool.send_signal(number)
            code = tool.wait(30)
        # Whoever has died may be found until somebody has taken note.
        return code, wait_until(lambda: not any(map(lives, started)), 5)

    def test_nothing_is_left(self):
        for name, work in (("step", STEP), ("build", BUILD), ("film", FILM)):
            for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
                with self.subTest(name, signal=number.name), tempfile.TemporaryDirectory() as folder:
                    self.path = os.path.join(folder, "session")
                    self.assertEqual(self.end(work, number), (128 + number, True))

    def test_who_is_asked_can_tidy_up(self):
        for asks in (False, True):
            with self.subTest(asks=asks):
                self.assertEqual(self.end(TIDY.format(asks=asks), signal.SIGTERM), (143, True))
                self.assertFalse(os.path.exists(self.path + ".kept"))
                os.remove(self.path)


class RunTest(unittest.TestCase):
    def test_exit_code(self):
        self.assertEqual(processes.run(["sh", "-c", "exit 3"]), 3)

    def test_who_may_ask_keeps_the_terminal(self):
        for asks in (False, True):
            self.assertEqual(processes.run(
                [sys.executable, "-c", f"import os; exit(os.getsid(0) == {os.getsid(0)})"],
                asks=asks), int(asks))


if __name__ == "__main__":
    unittest.main()
