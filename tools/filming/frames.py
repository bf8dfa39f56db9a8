"""All frames of a whole show, as fast as they can be drawn."""

import os
import subprocess

from surroundings.show import FIRST_PART_S, PART_S, ROOT, TICK_S
from surroundings.surrounding import CannotStart

WIDTH, HEIGHT = 800, 480
RATE = round(1 / TICK_S)
# How ffmpeg calls the order of the bytes.
PIXELS = "bgr0"
FRAME_BYTES = 4 * WIDTH * HEIGHT

BUILD = os.path.join(ROOT, "build/debug")


def program(name):
    path = os.path.join(BUILD, name)
    if not os.path.exists(path):
        raise CannotStart(f"there is no {path}: the debug preset is not built")
    return path


def start_show(seed, battery):
    """Writes all its frames to its standard output. `seed`: from 0 to 999; `battery`: in percent."""
    return subprocess.Popen(
        [os.path.join(ROOT, "tools/with-xvfb"), program("tests/pixmoth-frames"), "--film", str(seed),
         str(battery)], stdout=subprocess.PIPE,
        env={**os.environ, "QT_LOGGING_RULES": "*=false"})


def parts_of(frame_count):
    """Each part's frames, as a slice, where nothing holds a part."""
    first, later = round(FIRST_PART_S / TICK_S), round(PART_S / TICK_S)
    ends = [first, *range(first + later, frame_count + 1, later)]
    return [slice(start, end) for start, end in zip([0, *ends], ends)]
