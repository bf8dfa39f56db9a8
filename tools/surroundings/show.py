"""What the tools know of the program that they start: the lines of its log that are its contract,
and where the builds put it."""

import os
import re

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
MUSIC_FOLDER = os.path.join(ROOT, "music")
MUSIC = os.path.join(MUSIC_FOLDER, "beat.mp3")

# The last line before the first frame.
FIRST_FRAME_LINE = "BATTERY:"
# The first line with a GL context at hand: from here on the show has a say in what happens.
FIRST_GL_LINE = "vertex shader"
# The category of the lines that tell what is missing of the system, each once.
SERVICE_CATEGORY = "pixmoth.platform"
NO_SPEECH_LINE = "No speech"
NO_SOUND_LINE = "No sound"
NO_MUSIC_LINE = "No music"
# What is spoken last, in the last part but one.
LAST_SPOKEN = "Unless you mean it"

# So long the screen stays black at the beginning.
BLACK_S = 2


def lengths():
    """In seconds: a tick; and the first part and each later one, which end with the first tick after
    their time."""
    with open(os.path.join(ROOT, "src/demo/timing.h"), encoding="utf-8") as header:
        ms = {name: int(number)
              for name, number in re.findall(r"(\w+_MS) = (\d+);", header.read())}
    return (ms["TICK_MS"] / 1000, *((ms[name] // ms["TICK_MS"] + 1) * ms["TICK_MS"] / 1000
                                    for name in ("FIRST_PART_MS", "LATER_PART_MS")))


TICK_S, FIRST_PART_S, PART_S = lengths()


def read_log(path):
    with open(path, encoding="utf-8", errors="replace") as log:
        return log.read()
