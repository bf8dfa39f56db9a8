"""Sound servers of the tools' own, with programs that stand for theirs."""

import array
import os
import re
import subprocess
import sys
import unittest
from unittest import mock

from surroundings import soundserver
from surroundings.soundserver import PipeWire, PulseAudio, SILENCE_DB, SoundServer
from surroundings.surrounding import CannotStart

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Idlers(SoundServer):
    """Two programs that do nothing."""

    programs = ("first", "second")

    def command(self, program):
        return ["sleep", "60"]

    def answers(self):
        return True


class Talker(Idlers):
    """Dies with a word."""

    def command(self, program):
        return ["sh", "-c", f"echo {program} has no ears"]

    def answers(self):
        return False


def state(process):
    with open(f"/proc/{process.pid}/stat", encoding="utf-8") as stat:
        return stat.read().rpartition(")")[2].split()[0]


class SoundServerTest(unittest.TestCase):
    def await_states(self, server, *states):
        def found():
            return tuple(state(server.running[name]) for name in server.programs)
        soundserver.wait_until(lambda: found() == states, 10, 0.01)
        self.assertEqual(found(), states)

    def test_all_or_some_freeze(self):
        with Idlers() as server:
            server.freeze("second")
            self.await_states(server, "S", "T")
            server.freeze()
            self.await_states(server, "T", "T")
            server.thaw("first")
            self.await_states(server, "S", "T")
            server.thaw()
            self.await_states(server, "S", "S")

    def test_one_is_started_anew(self):
        with Idlers() as server:
            first, second = (server.running[name] for name in server.programs)
            server.stop("second")
            self.assertIsNotNone(second.poll())
            server.start(["second"])
            self.assertIs(server.running["first"], first)
            self.await_states(server, "S", "S")

    def test_nothing_is_left(self):
        with Idlers() as server:
            running = list(server.running.values())
            self.assertTrue(os.path.isdir(server.folder))
        self.assertTrue(all(process.poll() is not None for process in running))
        self.assertFalse(os.path.exists(server.folder))

    def test_last_words(self):
        with self.assertRaises(CannotStart) as failure:
            Talker()
        self.assertRegex(str(failure.exception), "(first|second) has no ears")

    def test_no_such_program(self):
        class Nobody(Idlers):
            def command(self, program):
                return ["/nonexistent"]
        with self.assertRaises(CannotStart):
            Nobody()


@unittest.skipUnless(PulseAudio.is_installed(), "PulseAudio is not installed")
class PulseAudioTest(unittest.TestCase):
    def test_what_is_played_is_heard_in_time_from_the_start(self):
        with PulseAudio() as server:
            latency = re.search(r"Latency: (\d+) usec", server.ask("list", "sinks"))
        self.assertLess(int(latency[1]), 100_000)


class KindTest(unittest.TestCase):
    def setUp(self):
        patch = mock.patch.dict(os.environ)
        patch.start()
        self.addCleanup(patch.stop)
        os.environ.pop("SOUND_SERVER", None)

    @staticmethod
    def chosen(*installed, name=None):
        with mock.patch.object(soundserver.shutil, "which", lambda program: program in installed
                               or None):
            return soundserver.kind(name)

    def test_what_is_installed(self):
        pipewire = ("pipewire", "wireplumber", "pipewire-pulse", "pactl")
        self.assertIsNone(self.chosen())
        self.assertIs(self.chosen("pulseaudio", "pactl"), PulseAudio)
        self.assertIs(self.chosen(*pipewire), PipeWire)
        self.assertIs(self.chosen("pulseaudio", *pipewire), PulseAudio)
        self.assertIsNone(self.chosen(*pipewire[1:]))

    def test_what_is_named(self):
        self.assertIs(self.chosen("pulseaudio", "pactl", name="pipewire"), PipeWire)
        os.environ["SOUND_SERVER"] = "pipewire"
        self.assertIs(self.chosen("pulseaudio", "pactl"), PipeWire)
        self.assertIs(self.chosen("pulseaudio", "pactl", name="pulseaudio"), PulseAudio)
        with self.assertRaises(CannotStart):
            self.chosen(name="gramophone")


class LoudnessTest(unittest.TestCase):
    @staticmethod
    def of(*values):
        samples = array.array("h", values)
        if sys.byteorder == "big":
            samples.byteswap()
        return soundserver.loudness_of(samples.tobytes())

    def test_loudness(self):
        self.assertEqual(self.of(), SILENCE_DB)
        self.assertEqual(self.of(0, 0), SILENCE_DB)
        self.assertAlmostEqual(self.of(-32768, -32768), 0)
        self.assertAlmostEqual(self.of(16384, -16384), -6.02, 2)

    def test_half_a_sample(self):
        self.assertEqual(soundserver.loudness_of(b"\0\0\1"), SILENCE_DB)


class WithSoundTest(unittest.TestCase):
    @staticmethod
    def run_tool(*words, **changes):
        return subprocess.run([os.path.join(ROOT, "tools/with-sound"), *words],
                              env={**os.environ, **changes}, capture_output=True, text=True,
                              check=False)

    def test_the_commands_own_server_and_exit_code(self):
        told = self.run_tool("sh", "-c", "echo $(pactl get-default-sink) $PULSE_SINK; exit 3",
                             PULSE_SINK="other")
        self.assertEqual((told.stdout, told.returncode), ("null\n", 3), told.stderr)

    def test_a_command_that_is_killed(self):
        self.assertEqual(self.run_tool("sh", "-c", "kill -TERM $$").returncode, 143)

    def test_options_are_the_commands(self):
        self.assertEqual(self.run_tool("echo", "--help", "-n").stdout, "--help -n\n")

    def test_unknown_server(self):
        told = self.run_tool("true", SOUND_SERVER="gramophone")
        self.assertEqual(told.returncode, 1)
        self.assertIn("there is no sound server called 'gramophone'", told.stderr)


if __name__ == "__main__":
    unittest.main()
