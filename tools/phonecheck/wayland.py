"""Ten seconds of the PC's program under a Wayland compositor, ended by SIGTERM."""

import glob
import os
import signal
import subprocess
import tempfile
import time

from phonecheck import builds
from phonecheck.pictures import Photographs
from phonecheck.workplace import StepFailed
from surroundings.show import BLACK_S
from surroundings.waiting import wait_until

SOCKET = "phone-check"
STARTS_WITHIN_S = 10
ENDS_WITHIN_S = 10


def start_compositor(place):
    """The desktop shell, for it shows windows even where there is no seat; --debug lets clients
    photograph the screen. It is just as large as the show's window: no resize helps it along."""
    compositor = place.start(
        place.path("weston.log"),
        ["weston", "--backend=headless-backend.so", "--use-pixman", "--width=800", "--height=480",
         "--no-config", "--shell=desktop-shell.so", "--socket=" + SOCKET, "--debug"])
    socket = os.path.join(place.runtime, SOCKET)
    wait_until(lambda: os.path.exists(socket) or compositor.poll() is not None, STARTS_WITHIN_S)
    if not os.path.exists(socket):
        raise StepFailed("weston could not be started")


def photograph(place, path):
    """The compositor takes the surface as opaque, as it is told to; its picture keeps the alpha."""
    with tempfile.TemporaryDirectory(dir=place.runtime) as folder:
        try:
            subprocess.run(["weston-screenshooter"], cwd=folder, timeout=5, check=False,
                           env=place.environment(WAYLAND_DISPLAY=SOCKET),
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        except subprocess.TimeoutExpired:
            return
        for picture in glob.glob(os.path.join(folder, "*.png")):
            subprocess.run(["convert", picture, "-background", "black", "-flatten", path],
                           check=True)


def check(place, _options):
    builds.build_desktop(place, "pixmoth")
    start_compositor(place)
    photographs = Photographs(place.folder, "wayland")
    log_path = place.path("wayland.log")
    show = place.start(log_path, [os.path.join(place.desktop_build, "src/pixmoth")],
                       WAYLAND_DISPLAY=SOCKET, QT_QPA_PLATFORM="wayland")
    time.sleep(BLACK_S)
    photographs.take(lambda path: photograph(place, path))
    show.terminate()
    code = place.end_within(show, ENDS_WITHIN_S)
    if code != -signal.SIGTERM:
        place.failed(f"wayland: it did not live until SIGTERM, or not end with it (code {code}); "
                     f"its log is {log_path}")
    elif not photographs.painted() or not photographs.moved():
        place.failed(f"wayland: nothing moves on the screen; see {photographs.sheet}")
    else:
        place.passed(f"wayland: ten seconds, ended by SIGTERM; see {photographs.sheet}")
