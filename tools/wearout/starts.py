"""Starts that are ended at a random moment."""

import signal
import time

from surroundings.screen import Screen
from surroundings.show import FIRST_GL_LINE
from wearout.trials import LIMIT_S

KEYS = ("Escape", "space", "q", "Return", "F5", "Left")
SIGNALS = (signal.SIGTERM, signal.SIGINT)


def drawn(trials, count, choices):
    """So many times: a number, a moment, and one of the choices."""
    for number in range(count):
        yield number, trials.chance.moment(), trials.chance.choice(choices)


def keys(trials, count):
    with Screen() as screen:
        for number, moment, key in drawn(trials, count, KEYS):
            with trials.start("key", number) as start:
                start.begin(screen.display)
                time.sleep(moment)
                # Before there is a window nobody takes the key.
                deadline = time.monotonic() + LIMIT_S
                while start.lives() and time.monotonic() < deadline:
                    screen.press(key)
                    time.sleep(0.01)


def signals(trials, count):
    with Screen() as screen:
        for number, moment, which in drawn(trials, count, SIGNALS):
            with trials.start("signal", number) as start:
                start.allowed = (-which,)
                start.begin(screen.display)
                time.sleep(moment)
                start.program.send_signal(which)


def screens(trials, count):
    for number in range(count):
        moment = trials.chance.moment()
        with trials.start("screen", number) as start:
            with Screen() as screen:
                start.begin(screen.display)
                time.sleep(moment)
            start.await_exit()
            # Qt ends with 1 when its display goes.
            start.allowed = (1,)
            if FIRST_GL_LINE not in start.log():
                # While it and the driver are still making the window, before the show has a say,
                # Qt may abort and Mesa's GLX may crash on a connection that is gone.
                start.allowed += (-signal.SIGABRT, -signal.SIGSEGV)
