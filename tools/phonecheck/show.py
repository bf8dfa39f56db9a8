"""Ten seconds of the phone's program on a virtual screen, ended by a key."""

import os
import subprocess
import time

from phonecheck import builds
from phonecheck.pictures import Photographs
from surroundings.screen import Screen
from surroundings.show import BLACK_S, FIRST_FRAME_LINE, read_log
from surroundings.waiting import wait_until

LOADED_WITHIN_S = 30
ENDS_WITHIN_S = 20


def check(place, _options):
    builds.build_phone(place, "pixmoth")
    photographs = Photographs(place.folder, "show")
    log_path = place.path("show.log")
    with Screen() as screen:
        environment = place.environment(DISPLAY=screen.display)
        show = place.start(log_path, [os.path.join(place.build, "src/pixmoth")],
                           DISPLAY=screen.display)
        wait_until(lambda: FIRST_FRAME_LINE in read_log(log_path), LOADED_WITHIN_S)
        time.sleep(BLACK_S)
        photographs.take(lambda path: subprocess.run(["import", "-window", "root", path],
                                                     env=environment, check=False))
        screen.press("Escape")
        code = place.end_within(show, ENDS_WITHIN_S)
    if code is None:
        place.failed(f"show: a key did not end it; its log is {log_path}")
    elif code != 0:
        place.failed(f"show: it ended with code {code}; its log is {log_path}")
    elif not photographs.painted():
        place.failed(f"show: nothing is painted; see {photographs.sheet}")
    else:
        place.passed(f"show: ten seconds, ended by a key with code 0; see {photographs.sheet}")
