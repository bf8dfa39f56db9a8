"""Starts the program, waits for its end, and looks at what is left."""

import os
import random
import shutil
import signal
import subprocess
import tempfile
import time

from surroundings import NO_BUS, NO_SOUND_SERVER
from surroundings.bus import Bus
from surroundings.processes import living_members
from surroundings.show import FIRST_FRAME_LINE, ROOT, read_log
from surroundings.surrounding import Surrounding
from surroundings.waiting import wait_until

PROGRAM = os.path.join(ROOT, "build/debug/src/pixmoth")
LOGS = os.path.join(ROOT, "build/endurance")
# For what should never take so long.
LIMIT_S = 20
# What the show promises, on a machine that is not busy.
FIRST_FRAME_S = 3
END_S = 2
# Far more than between two ticks, far less than a frozen server would hold a frame.
FRAME_GAP_S = 0.5
# Loaded before the program's libraries, it writes down when each frame is shown.
FRAME_TIMES = os.path.join(ROOT, "build/debug/tests/endurance/libframetimes.so")
# A sound card that somebody else plays on.
BUSY_CARD = os.path.join(ROOT, "build/debug/tests/endurance/libbusycard.so")
# After its end: until all that it started has ended, and the screen saver knows.
SETTLES_WITHIN_S = 2
# The toolkit's own warning of a process object that dies before its process. Nothing else tells:
# the process is killed either way.
LET_GO_LINE = "QProcess: Destroyed"


def write_program(path, script, mode=0o755):
    with open(path, "w", encoding="utf-8") as file:
        file.write(script)
    os.chmod(path, mode)


class Chance:
    """What is drawn at random. The same seed gives the same trials."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.choice = self.random.choice
        self.uniform = self.random.uniform
        self.whole = self.random.randint
        self.bytes = self.random.randbytes

    def moment(self):
        """Mostly in the first frames, where things are half made; some in the third second."""
        return self.choice((self.uniform(0, 0.4), self.uniform(0.4, 2.5)))


class Slowest:
    def __init__(self):
        self.took, self.name = 0.0, "none"

    def note(self, took, name):
        self.took, self.name = max((self.took, self.name), (took, name))

    def __str__(self):
        return f"{self.name}, {self.took:.2f} s"


class Trials(Surrounding):
    """What all starts share: a bus, a folder for what the program leaves, and the figures."""

    def __init__(self, chance, patience, sound_server=None):
        """`sound_server`: the kind of those that trials start, or None where there is none."""
        self.chance = chance
        self.sound_server = sound_server
        self.first_frame_s = FIRST_FRAME_S * patience
        self.end_s = END_S * patience
        self.frame_gap_s = FRAME_GAP_S * patience
        self.failures = 0
        self.slowest_frame = Slowest()
        self.slowest_end = Slowest()
        self.slowest_gap = Slowest()
        self.folder = tempfile.mkdtemp(prefix="pixmoth-endurance-")
        self.scratch = os.path.join(self.folder, "scratch")
        self.runtime = os.path.join(self.folder, "runtime")
        self.programs = os.path.join(self.folder, "bin")
        for folder in (self.scratch, self.runtime, self.programs):
            os.makedirs(folder, 0o700)
        os.makedirs(LOGS, exist_ok=True)
        # A synthesiser that would go on talking long after us.
        write_program(os.path.join(self.programs, "espeak"), "#!/bin/sh\nexec sleep 60\n")
        self.bus = Bus()

    def end(self):
        self.bus.end()
        shutil.rmtree(self.folder)

    def environment(self, display, changes):
        environment = dict(
            self.bus.environment, DISPLAY=display,
            PATH=self.programs + ":" + os.environ["PATH"], QT_QPA_PLATFORM="xcb",
            PULSE_SERVER=NO_SOUND_SERVER, DBUS_SYSTEM_BUS_ADDRESS=NO_BUS, TMPDIR=self.scratch,
            XDG_RUNTIME_DIR=self.runtime)
        environment.update(changes)
        return {name: value for name, value in environment.items() if value is not None}

    def start(self, name, number):
        return Start(self, name, number)

    def fail(self, what):
        self.failures += 1
        print(what, flush=True)


class Start:
    """One start of the program, within a with statement, at whose end it is judged."""

    def __init__(self, trials, name, number):
        self.trials = trials
        self.name = name
        self.number = number
        # The exit codes that are right.
        self.allowed = (0,)
        self.program = None
        self.code = None
        self.wrong = []
        self.log_path = os.path.join(LOGS, f"{name}-{number}.log")
        self.frames_path = os.path.join(trials.folder, f"{name}-{number}.frames")

    def begin(self, display, changes=None, before=(), frames=False):
        """`changes` of the environment: None takes a variable away. `before`: the command that
        starts the program, when it is not started by itself. `frames`: their times are written
        down."""
        changes = dict(changes or {})
        if frames:
            changes.update(LD_PRELOAD=FRAME_TIMES, FRAME_TIMES=self.frames_path)
        with open(self.log_path, "w", encoding="utf-8") as log:
            self.program = subprocess.Popen(
                [*before, PROGRAM], env=self.trials.environment(display, changes),
                stdout=log, stderr=log, start_new_session=True,
                # A shell's background jobs ignore it, and hand that down.
                preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))

    def log(self):
        return read_log(self.log_path)

    def complain(self, what):
        self.wrong.append(what)

    def lives(self):
        return self.program.poll() is None

    def await_first_frame(self):
        """And tells when it is late. Whether the frame comes after its line, the end shows: a
        program that hangs in it takes no key."""
        begin = time.monotonic()
        wait_until(lambda: FIRST_FRAME_LINE in self.log() or not self.lives(), LIMIT_S, 0.01)
        if FIRST_FRAME_LINE not in self.log():
            self.complain("no first frame")
            return
        took = time.monotonic() - begin
        self.trials.slowest_frame.note(took, self.name)
        if took > self.trials.first_frame_s:
            self.complain(f"first frame after {took:.1f} s")

    def await_end(self, ask):
        """Asks for the end until it comes, and tells when it is late."""
        begin = time.monotonic()
        while self.lives() and time.monotonic() < begin + LIMIT_S:
            ask()
            try:
                self.program.wait(0.05)
            except subprocess.TimeoutExpired:
                pass
        took = time.monotonic() - begin
        self.trials.slowest_end.note(took, self.name)
        if took > self.trials.end_s:
            self.complain(f"end after {took:.1f} s")
        self.await_exit(0.1)

    def look_at_frames(self, of_all=True):
        """Tells where one was late, `of_all` or of none but the first."""
        times = [float(line) for line in read_log(self.frames_path).split()] \
            if os.path.exists(self.frames_path) else []
        if len(times) < 2:
            self.complain(f"{len(times)} frames")
            return
        gap, at = max((after - before, before - times[0])
                      for before, after in zip(times, times[1:]))
        if of_all:
            self.trials.slowest_gap.note(gap, self.name)
            if gap > self.trials.frame_gap_s:
                self.complain(f"no frame for {gap:.1f} s, {at:.1f} s after the first")

    def look_for(self, line):
        """The log tells it once."""
        times = self.log().count(line)
        if line and times != 1:
            self.complain(f"'{line}' told {times} times")

    def await_exit(self, limit_s=LIMIT_S):
        """Takes the exit code. What does not end is killed."""
        try:
            self.code = self.program.wait(limit_s)
        except subprocess.TimeoutExpired:
            self.program.kill()
            self.code = f"hung, then {self.program.wait()}"

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind:
            if self.program:
                self.program.kill()
                self.program.wait()
            return
        if self.code is None:
            self.await_exit()
        if self.code not in self.allowed:
            self.complain(f"exit code {self.code}")
        if LET_GO_LINE in self.log():
            self.complain("a process was let go of while it ran")
        self.look_at_what_is_left()
        if self.wrong:
            self.trials.fail(f"{self.name} {self.number}: {', '.join(self.wrong)} "
                             f"(log {self.log_path})")
        else:
            os.remove(self.log_path)

    def look_at_what_is_left(self):
        trials = self.trials
        wait_until(lambda: not living_members(self.program.pid) and trials.bus.holders() == 0,
                   SETTLES_WITHIN_S, 0.02)
        left = living_members(self.program.pid)
        if left:
            self.complain(f"processes left: {left}")
        if trials.bus.holders() != 0:
            self.complain("screen saver still held off")
        left = os.listdir(trials.scratch)
        if left:
            self.complain(f"left in the temporary folder: {left}")
            shutil.rmtree(trials.scratch)
            os.makedirs(trials.scratch)
