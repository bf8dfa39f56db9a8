"""How many fragments each program shades in each frame of the show.

The whole show is recorded on this machine's driver (apitrace), a frame a tick, and replayed with a
query of the pixels that each draw has drawn. None of the show's shaders drops a fragment, and none
of its quads lies behind another: so many are shaded.
"""

import os
import re
import shutil
import subprocess
from collections import Counter
from dataclasses import dataclass

from surroundings.screen import Screen
from surroundings.show import ROOT
from surroundings.workplace import StepFailed

PROGRAM = os.path.join(ROOT, "build/bench/bench/pixmoth-bench-show")


@dataclass(frozen=True)
class Frame:
    part: int
    fragments: Counter  # By the programs' numbers.


def parse_parts(log):
    """The part of each frame, in their order, by the table that pixmoth-bench-show prints."""
    return [int(part)
            for part, frames in re.findall(r"^(\d+) +(\d+)(?: +[\d.]+){4} +\d+$", log, re.MULTILINE)
            for _ in range(int(frames))]


def parse_replay(lines):
    """The fragments of each frame, by the numbers of the programs, out of what glretrace --ppd
    prints. A line of a call ends with its pixels, or -1, the program and the call's name."""
    frames = []
    fragments = Counter()
    for line in lines:
        if line.startswith("call "):
            _, pixels, program, _ = line.rsplit(None, 3)
            if pixels not in ("-1", "0"):
                fragments[int(program)] += int(pixels)
        elif line.startswith("frame_end"):
            frames.append(fragments)
            fragments = Counter()
    return frames


def join(parts, frames):
    """The show ends with a frame in which nothing is drawn: there may be one more than has a
    part."""
    if len(frames) - len(parts) not in (0, 1) or not parts:
        raise StepFailed(f"{len(frames)} frames were replayed, and {len(parts)} played")
    return [Frame(part, fragments) for part, fragments in zip(parts, frames)]


def build(place):
    for command in (["--preset", "bench"],
                    ["--build", "--preset", "bench", "--target", "pixmoth-bench-show"]):
        place.step("build.log", ["cmake", *command], append=command[0] == "--build")


class Recording:
    """The show on a screen of some size, "WIDTHxHEIGHT"."""

    def __init__(self, place, size):
        self.place = place
        self.size = size
        self.trace = place.path(f"show-{size}.trace")
        self.log = f"record-{size}.log"
        self.caught = place.path(f"caught-{size}")  # The programs that were linked in it.

    def make(self):
        shutil.rmtree(self.caught, ignore_errors=True)
        os.makedirs(self.caught)
        if os.path.exists(self.trace):
            os.remove(self.trace)
        with Screen(self.size) as screen:
            # No synthesiser: what is counted is the show.
            self.place.step(self.log,
                            ["apitrace", "trace", "-a", "gl", "-o", self.trace,
                             "env", "PATH=/nonexistent", PROGRAM, *self.size.split("x"),
                             "unthrottled"],
                            DISPLAY=screen.display, QT_LOGGING_RULES="*=false",
                            MESA_SHADER_CAPTURE_PATH=self.caught)

    def frames(self):
        """With the fragments of each."""
        replay_log = self.place.path(f"replay-{self.size}.log")
        with Screen(self.size) as screen, open(replay_log, "w", encoding="utf-8") as errors, \
                subprocess.Popen(["glretrace", "--ppd", self.trace], stdout=subprocess.PIPE,
                                 stderr=errors, text=True,
                                 env=self.place.environment(DISPLAY=screen.display)) as replay:
            fragments = parse_replay(replay.stdout)
        if replay.returncode != 0:
            raise StepFailed(f"the replay ended with code {replay.returncode}; see {replay_log}")
        with open(self.place.path(self.log), encoding="utf-8", errors="replace") as log:
            return join(parse_parts(log.read()), fragments)
