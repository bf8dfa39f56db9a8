"""Wears the show out, in bounded time, and says what gave way.

Whole shows in a row in one process; starts ended by a key, by a signal, or by the death of the
screen, each at a random moment; a storm of resizes; screens of other sizes without a window
manager; each service missing, failing or silent in turn; sound servers, and each program of one,
that freeze, go or come in the midst of the show, whose frames go on. After every start: the exit
code, no process left behind, nothing left in the temporary folder, the screen saver released; and
the first frame within 3 s and the end within 2 s, times the patience that a busy machine may ask
for. A start that fails leaves its log in build/endurance; the seed is printed at the end. Needs the
debug preset built, and the packages of the sets "check" and "record". Exit code 1 where something
gave way.
"""

import argparse
import os
import signal
import sys
import time
from dataclasses import dataclass
from typing import Callable

from surroundings import soundserver
from surroundings.surrounding import CannotStart
from wearout import frozen, services, shows, sizes, starts, trials
from wearout.trials import Chance, Trials


@dataclass(frozen=True)
class Kind:
    """Of trials. One of them takes about so many seconds, on two cores."""

    name: str
    run: Callable
    count: int
    seconds: Callable | float  # Or what tells them of the kind of sound server.
    what: str


KINDS = (
    Kind("keys", starts.keys, 300, 1.2, "starts ended by a key"),
    Kind("signals", starts.signals, 100, 0.6, "starts ended by a signal"),
    Kind("screens", starts.screens, 20, 2, "starts ended by the death of the screen"),
    Kind("resizes", sizes.resizes, 200, 0.05, "resizes of one start"),
    Kind("sizes", sizes.sizes, 1, 10, "rounds of screens of other sizes"),
    Kind("services", services.services, 1, 160, "rounds of services that fail"),
    Kind("frozen", frozen.frozen, 1, frozen.expected_seconds,
         "rounds of sound servers that freeze"),
    Kind("shows", shows.shows, 100, 5, "whole shows in a row"),
)


def count(text):
    number = int(text)
    if number < 0:
        raise argparse.ArgumentTypeError("cannot be negative")
    return number


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/endurance", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seed", type=int, default=int(time.time()),
                        help="of what is drawn at random; the same gives the same trials (the "
                             "time)")
    parser.add_argument("--patience", type=float, default=1,
                        help="so many times as long as promised may a first frame and an end take "
                             "(1)")
    parser.add_argument("--sound-server", choices=soundserver.KINDS,
                        help="the kind of sound server that trials start (SOUND_SERVER, or what "
                             "is installed: pulseaudio before pipewire)")
    for kind in KINDS:
        parser.add_argument("--" + kind.name, type=count, default=kind.count, metavar="N",
                            help=f"{kind.what} ({kind.count}); 0 leaves them out")
    return parser.parse_args(arguments)


def expected_minutes(options, sound_server):
    return sum(getattr(options, kind.name) *
               (kind.seconds(sound_server) if callable(kind.seconds) else kind.seconds)
               for kind in KINDS) / 60


def run(options, sound_server):
    """How many trials have failed."""
    for program in (trials.PROGRAM, trials.FRAME_TIMES, trials.BUSY_CARD, shows.PROGRAM):
        if not os.path.exists(program):
            raise CannotStart(f"there is no {program}: the debug preset is not built")
    with Trials(Chance(options.seed), options.patience, sound_server) as all_trials:
        for kind in KINDS:
            number = getattr(options, kind.name)
            if number:
                begin = time.monotonic()
                failures = all_trials.failures
                kind.run(all_trials, number)
                print(f"{kind.name}: {number} in {time.monotonic() - begin:.0f} s, "
                      f"{all_trials.failures - failures} failed", flush=True)
        return all_trials.failures


def main():
    options = parse(sys.argv[1:])
    # So that what was started is ended.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    what = ", ".join(f"{getattr(options, kind.name)} {kind.what}" for kind in KINDS
                     if getattr(options, kind.name))
    try:
        sound_server = soundserver.kind(options.sound_server)
        print(f"Wearing the show out with {what}: about "
              f"{expected_minutes(options, sound_server):.0f} minutes on two cores. Seed "
              f"{options.seed}", flush=True)
        failures = run(options, sound_server)
    except CannotStart as failure:
        print(f"endurance: {failure}", file=sys.stderr)
        return 1
    print(f"{failures} failures, seed {options.seed}")
    return 1 if failures else 0
