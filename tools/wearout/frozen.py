"""Sound servers that freeze, go or come in the midst of the show, which goes on and ends in time
all the same. Of a server with several programs each freezes by itself."""

import os
import signal
import time
from dataclasses import dataclass
from typing import Callable

from surroundings.screen import Screen
from surroundings.show import (
    LAST_SPOKEN, NO_MUSIC_LINE, NO_SOUND_LINE, PART_S, read_log)
from surroundings.waiting import wait_until
from wearout.servicecases import synthesiser

# The show needs 85 s to its last line; a busy machine more.
LAST_LINE_WITHIN_S = 150
# In dB: far below the music three seconds after its beginning, far above silence.
HEARD_DB = -45
LISTENS_S = 1
# Of one round: for each program of the server, and for the server as a whole.
PROGRAM_S, SERVER_S = 135, 35


@dataclass(frozen=True)
class Incident:
    """What happens to a server while the show plays. Each step is told the server."""

    name: str
    before: Callable = None  # The program starts.
    early: Callable = None  # In its first moments, before its first frame or just after it.
    amid: Callable = None  # Some frames later.
    later: Callable = None  # A while after that.
    by_signal: bool = False  # Ends it, and else a key.
    sink: bool = True  # The server has one.
    told: str = ""  # The log tells this, once.
    heard: bool = False  # In the end the music is.


def of_program(name):
    """What may happen to one program of a server."""
    def freeze(server):
        server.freeze(name)

    def thaw(server):
        server.thaw(name)

    yield Incident(f"{name}-frozen-before", before=freeze, told=NO_SOUND_LINE)
    yield Incident(f"{name}-frozen-till-then", before=freeze, amid=thaw, told=NO_SOUND_LINE)
    yield Incident(f"{name}-frozen-early", early=freeze)
    yield Incident(f"{name}-frozen", amid=freeze)
    yield Incident(f"{name}-frozen-by-signal", amid=freeze, by_signal=True)
    yield Incident(f"{name}-frozen-for-a-while", amid=freeze, later=thaw, heard=True)


def of_server():
    """What may happen to a server as a whole. A player has no way back to one that is new."""
    def start(server):
        server.start(server.programs)

    def restart(server):
        server.stop()
        start(server)

    yield Incident("server-alone", heard=True)
    yield Incident("server-goes", amid=lambda server: server.stop(), told=NO_MUSIC_LINE)
    yield Incident("server-anew", amid=restart, told=NO_MUSIC_LINE)
    yield Incident("server-later", before=lambda server: server.stop(), amid=start)
    yield Incident("server-without-sink", sink=False)


def incidents(kind):
    for program in kind.programs:
        yield from of_program(program)
    yield from of_server()


def expected_seconds(kind):
    return PROGRAM_S * len(kind.programs) + SERVER_S if kind else 0


def frozen(trials, count):
    kind = trials.sound_server
    if not kind:
        print("left out: frozen (there is neither pulseaudio nor pipewire-pulse)", flush=True)
        return
    with Screen() as screen:
        for number in range(count):
            for incident in incidents(kind):
                with kind(incident.sink) as server:
                    one_incident(trials, screen, server, incident, number)
            for program in kind.programs:
                with kind() as server:
                    frozen_in_the_last_part(trials, screen, server, program, number)
    print(f"slowest to begin: {trials.slowest_frame}; to end: {trials.slowest_end}; "
          f"between two frames: {trials.slowest_gap}")


def one_incident(trials, screen, server, incident, number):
    chance = trials.chance
    with trials.start(incident.name, number) as start:
        if incident.by_signal:
            start.allowed = (-signal.SIGTERM,)
        if incident.before:
            incident.before(server)
        start.begin(screen.display, server.environment, frames=True)
        if incident.early:
            time.sleep(chance.uniform(0.1, 0.6))
            incident.early(server)
        start.await_first_frame()
        for step in (incident.amid, incident.later):
            time.sleep(chance.uniform(1, 2))
            if step:
                step(server)
        time.sleep(1)
        if incident.heard and server.loudness(LISTENS_S) < HEARD_DB:
            start.complain("the music is not heard")
        start.await_end(start.program.terminate if incident.by_signal
                        else lambda: screen.press("Escape"))
        start.look_at_frames(of_all=not incident.early)
        start.look_for(incident.told)


def was_spoken(path):
    return os.path.exists(path) and LAST_SPOKEN in read_log(path)


def frozen_in_the_last_part(trials, screen, server, program, number):
    """Nobody asks for the end: it comes by itself. The synthesiser says nothing, so that no line
    holds a part, and writes down what it was to say."""
    name = f"{program}-frozen-last-part"
    spoken = os.path.join(trials.folder, f"{name}-{number}.spoken")
    quick = synthesiser(trials.folder, f"{name}-{number}",
                        f'#!/bin/sh\necho "$*" >>"{spoken}"\n')
    with trials.start(name, number) as start:
        start.begin(screen.display, {**server.environment, **quick}, frames=True)
        start.await_first_frame()
        time.sleep(trials.chance.uniform(1, 3))
        server.freeze(program)
        wait_until(lambda: was_spoken(spoken) or not start.lives(), LAST_LINE_WITHIN_S)
        if was_spoken(spoken):
            time.sleep(2 * PART_S)
        else:
            start.complain("the last part never came")
        start.await_end(lambda: None)
        start.look_at_frames()
