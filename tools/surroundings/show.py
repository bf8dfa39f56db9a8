"""What the tools know of the program that they start: the lines of its log that are its contract,
and where the builds put it."""

import os

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
FIRST_PART_S = 4.2
PART_S = 4.8


def read_log(path):
    with open(path, encoding="utf-8", errors="replace") as log:
        return log.read()
