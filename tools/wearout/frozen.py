"""Sound servers that freeze in the midst of the show, which ends in time all the same."""

import os
import signal
import time

from surroundings.screen import Screen
from surroundings.show import LAST_SPOKEN, PART_S, read_log
from surroundings.soundserver import SoundServer
from surroundings.waiting import wait_until
from wearout.servicecases import synthesiser

# The show needs 85 s to its last line; a busy machine more.
LAST_LINE_WITHIN_S = 150


def frozen(trials, count):
    if not SoundServer.is_installed():
        print("left out: frozen (there is no pulseaudio)", flush=True)
        return
    with Screen() as screen:
        for number in range(count):
            ended_by_a_key(trials, screen, number)
            ended_by_a_signal(trials, screen, number)
            frozen_before_the_first_frame(trials, screen, number)
            frozen_in_the_last_part(trials, screen, number)


def play_and_freeze(trials, start, screen, server, changes=None):
    start.begin(screen.display, {"PULSE_SERVER": server.address, **(changes or {})})
    start.await_first_frame()
    time.sleep(trials.chance.uniform(1, 3))
    server.freeze()
    time.sleep(trials.chance.uniform(0, 1))


def ended_by_a_key(trials, screen, number):
    with SoundServer() as server, trials.start("frozen-key", number) as start:
        play_and_freeze(trials, start, screen, server)
        start.await_end(lambda: screen.press("Escape"))


def ended_by_a_signal(trials, screen, number):
    with SoundServer() as server, trials.start("frozen-signal", number) as start:
        start.allowed = (-signal.SIGTERM,)
        play_and_freeze(trials, start, screen, server)
        start.await_end(start.program.terminate)


def frozen_before_the_first_frame(trials, screen, number):
    with SoundServer() as server, trials.start("frozen-early-key", number) as start:
        start.begin(screen.display, {"PULSE_SERVER": server.address})
        time.sleep(trials.chance.uniform(0.1, 0.6))
        server.freeze()
        start.await_end(lambda: screen.press("Escape"))


def was_spoken(path):
    return os.path.exists(path) and LAST_SPOKEN in read_log(path)


def frozen_in_the_last_part(trials, screen, number):
    """Nobody asks for the end: it comes by itself. The synthesiser says nothing, so that no line
    holds a part, and writes down what it was to say."""
    spoken = os.path.join(trials.folder, f"spoken-{number}")
    quick = synthesiser(trials.folder, f"writes-down-{number}",
                        f'#!/bin/sh\necho "$*" >>"{spoken}"\n')
    with SoundServer() as server, trials.start("frozen-last-part", number) as start:
        play_and_freeze(trials, start, screen, server, quick)
        wait_until(lambda: was_spoken(spoken) or not start.lives(), LAST_LINE_WITHIN_S)
        if was_spoken(spoken):
            time.sleep(2 * PART_S)
        else:
            start.complain("the last part never came")
        start.await_end(lambda: None)
