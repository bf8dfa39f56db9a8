"""Windows that change their size, and screens of other sizes than the show's."""

import time

from surroundings.screen import Screen
from wearout.trials import LIMIT_S

# Of the screen, and the toolkit's factor of scale.
SIZES = (("800x480", "1"), ("1024x600", "1"), ("1024x600", "2"), ("1920x1080", "1.5"),
         ("480x800", "1"))


def resizes(trials, count):
    """A storm of them in one start."""
    with Screen() as screen, trials.start("resizes", 0) as start:
        start.begin(screen.display)
        window = screen.window(LIMIT_S)
        if not window:
            start.complain("the window was not found")
        for _ in range(count):
            screen.ask("windowsize", window, str(trials.chance.whole(1, 1000)),
                       str(trials.chance.whole(1, 700)))
        start.await_end(lambda: screen.press("Escape"))


def sizes(trials, count):
    """The whole screen is the show's, though nobody manages windows."""
    for number in range(count):
        for size, factor in SIZES:
            one_size(trials, number, size, factor)


def one_size(trials, number, size, factor):
    with Screen(size) as screen, trials.start(f"size-{size}-by-{factor}", number) as start:
        start.begin(screen.display, {"QT_SCALE_FACTOR": factor})
        start.await_first_frame()
        # The window is placed when the loop runs.
        time.sleep(0.3)
        at = screen.geometry(screen.window(5))
        covered = f"{at.get('WIDTH')}x{at.get('HEIGHT')}"
        if covered != size or at.get("X") != "0" or at.get("Y") != "0":
            start.complain(f"covers {covered} at {at.get('X')}, {at.get('Y')}")
        start.await_end(lambda: screen.press("Escape"))
