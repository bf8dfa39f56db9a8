"""Whole shows in a row, in one process."""

import os
import subprocess

from surroundings import NO_BUS, NO_SOUND_SERVER
from surroundings.screen import Screen
from surroundings.show import ROOT, read_log
from wearout.trials import LOGS

# Plays them by a clock that runs faster, and tells after each what the process holds.
PROGRAM = os.path.join(ROOT, "build/debug/tests/endurance/showsinarow")
# After so many shows everything that is made once has been made.
WARM_UP = 5


def shows(trials, count):
    log_path = os.path.join(LOGS, "shows.log")
    with Screen() as screen, open(log_path, "w", encoding="utf-8") as log:
        code = subprocess.run(
            [PROGRAM, str(count)],
            env=dict(os.environ, DISPLAY=screen.display, QT_QPA_PLATFORM="xcb",
                     PATH="/nonexistent", PULSE_SERVER=NO_SOUND_SERVER,
                     DBUS_SESSION_BUS_ADDRESS=NO_BUS, DBUS_SYSTEM_BUS_ADDRESS=NO_BUS,
                     QT_LOGGING_RULES="*=false"),
            stdout=log, stderr=log, check=False).returncode
    told = [line for line in read_log(log_path).splitlines() if line.startswith("show ")]
    for line in told[WARM_UP - 1:WARM_UP] + told[-1:]:
        print(line)
    if code != 0:
        trials.fail(f"shows in a row: exit code {code} (log {log_path})")
