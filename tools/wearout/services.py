"""What the show finds its services in: missing, failing, silent, or gone in its midst."""

import contextlib
import glob
import os
import subprocess
import time

from surroundings.bus import Bus
from surroundings.screen import Screen
from surroundings.show import SERVICE_CATEGORY
from surroundings.silence import Falterer, Silence
from surroundings.soundcard import FrozenCard
from wearout import servicecases


def services(trials, count):
    with contextlib.ExitStack() as stack:
        screen = stack.enter_context(Screen())
        silence = stack.enter_context(Silence(trials.folder))
        frozen_saver = stack.enter_context(Bus())
        frozen_saver.freeze_saver()
        faltering = None
        if trials.sound_server:
            server = stack.enter_context(trials.sound_server())
            faltering = stack.enter_context(Falterer(trials.folder, server.path))
        cards = [stack.enter_context(FrozenCard(os.path.join(trials.folder, name), opens))
                 for name, opens in (("frozen-card", True), ("card-that-never-opens", False))]
        cases = list(servicecases.every(trials, silence, frozen_saver, faltering, cards))
        for number in range(count):
            for case in cases:
                one_service(trials, screen, case, number)
            bus_dies(trials, screen, number)
    print(f"slowest to begin: {trials.slowest_frame}; to end: {trials.slowest_end}")


def one_service(trials, screen, case, number):
    with trials.start("service-" + case.name, number) as start:
        start.begin(screen.display, case.changes, case.before)
        if case.ends:
            ends_by_itself(start)
            return
        start.await_first_frame()
        time.sleep(case.play_s)
        start.await_end(lambda: screen.press("Escape"))
        if case.changes.get("XDG_RUNTIME_DIR", "") is None:
            # The toolkit makes itself one when it looks for its platform.
            for own in glob.glob(os.path.join(trials.scratch, "runtime-*")):
                os.rmdir(own)
        start.look_for(case.told)


def ends_by_itself(start):
    """As soon as the first frame would have been due, with code 1 and one line that says why."""
    start.allowed = (1,)
    try:
        start.program.wait(start.trials.first_frame_s)
    except subprocess.TimeoutExpired:
        start.complain("goes on without a picture")
        start.program.kill()
    told = [line for line in start.log().split("\n") if SERVICE_CATEGORY in line and "GL" in line]
    if len(told) != 1:
        start.complain(f"told {len(told)} times that GL cannot be used")


def bus_dies(trials, screen, number):
    """Both of the show's buses, at a random moment of its first second."""
    with trials.start("service-bus-dies", number) as start:
        with Bus() as bus:
            start.begin(screen.display, {"DBUS_SESSION_BUS_ADDRESS": bus.address,
                                         "DBUS_SYSTEM_BUS_ADDRESS": bus.address})
            start.await_first_frame()
            time.sleep(trials.chance.uniform(0, 1))
        time.sleep(1)
        start.await_end(lambda: screen.press("Escape"))
