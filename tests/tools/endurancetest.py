"""What tools/endurance draws, reads and judges, with programs that stand for the show."""

import contextlib
import io
import os
import shutil
import tempfile
import time
import unittest
from unittest import mock

from surroundings.surrounding import Surrounding
from wearout import commandline, servicecases, trials
from wearout.trials import Chance, Trials


class ChanceTest(unittest.TestCase):
    @staticmethod
    def drawn(seed):
        chance = Chance(seed)
        return [chance.moment() for _ in range(100)]

    def test_a_seed_is_a_sequence(self):
        self.assertEqual(self.drawn(7), self.drawn(7))
        self.assertNotEqual(self.drawn(7), self.drawn(8))

    def test_moments_lie_in_the_beginning(self):
        moments = self.drawn(7)
        self.assertGreaterEqual(min(moments), 0)
        self.assertLessEqual(max(moments), 2.5)
        early = sum(moment < 0.4 for moment in moments)
        self.assertTrue(30 < early < 70, early)


class CommandLineTest(unittest.TestCase):
    def test_defaults(self):
        options = commandline.parse([])
        self.assertEqual((options.keys, options.shows, options.patience), (300, 100, 1))

    def test_seed_is_the_time(self):
        self.assertLess(abs(commandline.parse([]).seed - time.time()), 60)
        self.assertEqual(commandline.parse(["--seed", "7"]).seed, 7)

    def test_every_kind_has_its_option(self):
        words = [word for kind in commandline.KINDS for word in ("--" + kind.name, "0")]
        options = commandline.parse(words)
        self.assertEqual(commandline.expected_minutes(options), 0)

    def test_negative_counts_are_refused(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            commandline.parse(["--keys", "-1"])


class FakeBus(Surrounding):
    """One on which nobody holds the screen saver off, unless told."""

    def __init__(self):
        self.environment = dict(os.environ)
        self.holding = 0

    def holders(self):
        return self.holding

    def end(self):
        pass


class StartTest(unittest.TestCase):
    """Each test is a script in place of the show."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.program = os.path.join(self.folder.name, "program")
        for name, value in (("PROGRAM", self.program), ("LOGS", self.folder.name),
                            ("Bus", FakeBus), ("SETTLES_WITHIN_S", 0.1), ("LIMIT_S", 0.5)):
            patch = mock.patch.object(trials, name, value)
            patch.start()
            self.addCleanup(patch.stop)
        self.trials = Trials(Chance(1), 1)
        self.addCleanup(self.trials.end)

    def play(self, script, allowed=(0,), act=lambda start: None):
        """What is complained of."""
        trials.write_program(self.program, "#!/bin/sh\n" + script + "\n")
        told = io.StringIO()
        with contextlib.redirect_stdout(told), self.trials.start("start", 0) as start:
            start.allowed = allowed
            start.begin(":0")
            act(start)
        return told.getvalue()

    def test_all_is_well(self):
        self.assertEqual(self.play("exit 0"), "")
        self.assertEqual(self.play("exit 3", (1, 3)), "")
        self.assertEqual(self.trials.failures, 0)

    def test_exit_code(self):
        self.assertIn("exit code 3", self.play("exit 3"))
        self.assertEqual(self.trials.failures, 1)

    def test_signal(self):
        self.assertIn("exit code -11", self.play("kill -SEGV $$"))

    def test_a_program_that_hangs_is_killed(self):
        self.assertIn("hung, then -9", self.play("exec sleep 60", act=lambda start:
                                                 start.await_exit(0.1)))

    def test_a_process_that_is_left(self):
        self.assertIn("processes left", self.play("sleep 3 & exit 0"))

    def test_a_file_that_is_left(self):
        self.assertIn("left in the temporary folder: ['file']", self.play("touch $TMPDIR/file"))
        self.assertEqual(os.listdir(self.trials.scratch), [])

    def test_a_screen_saver_that_is_held_off(self):
        self.trials.bus.holding = 1
        self.assertIn("screen saver still held off", self.play("exit 0"))

    def test_a_process_that_was_let_go_of(self):
        self.assertIn("was let go of", self.play("echo 'QProcess: Destroyed while running'"))

    def test_first_frame(self):
        self.assertEqual(self.play("echo BATTERY: 50",
                                   act=lambda start: start.await_first_frame()), "")
        self.assertIn("no first frame", self.play("exit 0",
                                                  act=lambda start: start.await_first_frame()))

    def test_late_frame_and_end(self):
        self.trials.first_frame_s = self.trials.end_s = 0.1
        told = self.play("sleep 0.2; echo BATTERY: 50; exec sleep 0.3",
                         act=lambda start: (start.await_first_frame(),
                                            start.await_end(lambda: None)))
        self.assertIn("first frame after 0.", told)
        self.assertIn("end after 0.", told)

    def test_the_log_of_what_is_well_goes(self):
        self.play("echo told")
        self.assertEqual(os.listdir(self.folder.name), ["program"])
        self.play("echo told; exit 1")
        self.assertIn("start-0.log", os.listdir(self.folder.name))


class SynthesiserTest(unittest.TestCase):
    def test_it_is_found_first(self):
        with tempfile.TemporaryDirectory() as folder:
            path = servicecases.synthesiser(folder, "one", "#!/bin/sh\n")["PATH"]
            self.assertEqual(shutil.which("espeak", path=path),
                             os.path.join(folder, "one/espeak"))


if __name__ == "__main__":
    unittest.main()
