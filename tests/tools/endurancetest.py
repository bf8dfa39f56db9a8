"""What tools/endurance draws, reads and judges, with programs that stand for the show."""

import contextlib
import io
import os
import shutil
import tempfile
import time
import unittest
from unittest import mock

from surroundings.soundserver import PipeWire, PulseAudio, SILENCE_DB
from surroundings.surrounding import Surrounding
from wearout import commandline, frozen, servicecases, trials
from wearout.frozen import Incident
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
        self.assertEqual(commandline.expected_minutes(options, PipeWire), 0)

    def test_a_server_of_more_programs_takes_longer(self):
        options = commandline.parse([])
        times = [commandline.expected_minutes(options, kind)
                 for kind in (None, PulseAudio, PipeWire)]
        self.assertEqual(times, sorted(set(times)))

    def test_sound_server(self):
        self.assertIsNone(commandline.parse([]).sound_server)
        self.assertEqual(commandline.parse(["--sound-server", "pipewire"]).sound_server,
                         "pipewire")
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            commandline.parse(["--sound-server", "gramophone"])

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

    def play(self, script, allowed=(0,), act=lambda start: None, frames=False):
        """What is complained of."""
        trials.write_program(self.program, "#!/bin/sh\n" + script + "\n")
        told = io.StringIO()
        with contextlib.redirect_stdout(told), self.trials.start("start", 0) as start:
            start.allowed = allowed
            start.begin(":0", frames=frames)
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

    def frames(self, *times):
        """What is complained of where they are shown at these times."""
        return self.play(f"printf '%s\\n' {' '.join(map(str, times))} >$FRAME_TIMES", frames=True,
                         act=lambda start: (start.await_exit(), start.look_at_frames()))

    def test_frames(self):
        self.assertEqual(self.frames(7.0, 7.05, 7.1), "")
        self.assertIn("no frame for 0.9 s, 0.1 s after the first", self.frames(7.0, 7.1, 8.0, 8.1))
        self.assertIn("1 frames", self.frames(7.0))
        self.trials.frame_gap_s = 1
        self.assertEqual(self.frames(7.0, 7.1, 8.0, 8.1), "")

    def test_a_line_of_the_log(self):
        def look(line):
            return self.play("echo No sound: gone; echo No No", act=lambda start: (
                start.await_exit(), start.look_for(line)))
        self.assertEqual(look("No sound"), "")
        self.assertEqual(look(""), "")
        self.assertIn("'No music' told 0 times", look("No music"))
        self.assertIn("'No' told 3 times", look("No"))

    def happen(self, incident, script="", loudness_db=-20.0):
        """What is complained of where it happens to a server that is told all that it is to do."""
        server = mock.Mock(environment={})
        server.loudness.return_value = loudness_db
        trials.write_program(self.program, "#!/bin/sh\necho BATTERY: 50; seq 1 0.05 3 "
                             ">$FRAME_TIMES\n" + script + "\nexec sleep 0.3\n")
        told = io.StringIO()
        with contextlib.redirect_stdout(told), mock.patch.object(frozen.time, "sleep"):
            frozen.one_incident(self.trials, mock.Mock(display=":0"), server, incident, 0)
        return told.getvalue(), [call[0] for call in server.method_calls]

    def test_incidents(self):
        def step(name):
            return lambda server: getattr(server, name)()
        every = Incident("every", before=step("a"), early=step("b"), amid=step("c"),
                         later=step("d"))
        self.assertEqual(self.happen(every), ("", ["a", "b", "c", "d"]))
        self.assertIn("'No sound' told 0 times", self.happen(Incident("mute", told="No sound"))[0])

    def test_music(self):
        heard = Incident("heard", heard=True)
        self.assertEqual(self.happen(heard), ("", ["loudness"]))
        self.assertIn("the music is not heard", self.happen(heard, loudness_db=SILENCE_DB)[0])

    def test_late_frames_of_an_incident(self):
        late = "echo 5 >>$FRAME_TIMES"
        self.assertIn("no frame for 2.0 s", self.happen(Incident("amid"), late)[0])
        # What comes in the first moments may hold the second frame, as it may the first.
        early = Incident("early", early=lambda server: None)
        self.assertEqual(self.happen(early, late)[0], "")

    def test_the_log_of_what_is_well_goes(self):
        self.play("echo told")
        self.assertEqual(os.listdir(self.folder.name), ["program"])
        self.play("echo told; exit 1")
        self.assertIn("start-0.log", os.listdir(self.folder.name))


class IncidentsTest(unittest.TestCase):
    def test_each_program_freezes_by_itself(self):
        for kind in (PulseAudio, PipeWire):
            server = mock.Mock()
            for incident in frozen.incidents(kind):
                for step in (incident.before, incident.early, incident.amid, incident.later):
                    if step:
                        step(server)
            frozen_ones = {call.args[0] for call in server.freeze.call_args_list}
            self.assertEqual(frozen_ones, set(kind.programs))

    def test_names_differ(self):
        names = [incident.name for incident in frozen.incidents(PipeWire)]
        self.assertEqual(len(names), len(set(names)))


class SynthesiserTest(unittest.TestCase):
    def test_it_is_found_first(self):
        with tempfile.TemporaryDirectory() as folder:
            path = servicecases.synthesiser(folder, "one", "#!/bin/sh\n")["PATH"]
            self.assertEqual(shutil.which("espeak", path=path),
                             os.path.join(folder, "one/espeak"))


if __name__ == "__main__":
    unittest.main()
