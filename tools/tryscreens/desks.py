"""Screens with a compositor or a window manager around them, each of its own, with nobody's
settings."""

import glob
import os
import shutil
import socket
import subprocess
import tempfile

from surroundings.screen import Screen
from surroundings.seclusion import secluded
from surroundings.surrounding import CannotStart, Surrounding, end_process
from surroundings.waiting import wait_until
from tryscreens.cameras import ScreencopyCamera, WestonCamera, WestonCaptureCamera, XCamera
from tryscreens.cases import RESIZED, TURNED
from tryscreens.hands import WaylandHands, XHands
from tryscreens.picture import BACKDROP, Picture
from tryscreens.wire import Client

STARTS_WITHIN_S = 20
BACKDROP_HEX = "{:02x}{:02x}{:02x}".format(*BACKDROP)


def as_other_user():
    """Up to release 1.7 sway refuses to be root's. In a namespace where nobody is, it is not; a
    container may not let one be made, and then it has to go without."""
    namespace = ["unshare", "--user", "--map-user=1000", "--map-group=1000"]
    can = os.getuid() == 0 and subprocess.run(
        [*namespace, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0
    return namespace if can else []


def is_listening(path):
    """Whether a socket takes guests; it has its name a little before."""
    with socket.socket(socket.AF_UNIX) as guest:
        return guest.connect_ex(path) == 0


class Desk(Surrounding):
    """What a case names; `hands` is None where nobody can touch it."""

    platform = "wayland"  # The toolkit's plugin.
    hands = None
    maps_within_s = 0  # A new window may be seen to be only partly there.

    def __init__(self, case, log_path):
        self.case = case
        self.log_path = log_path
        self.folder = tempfile.mkdtemp(prefix="pixmoth-screens-")
        self.children = []
        try:
            self.begin()
        except BaseException:
            self.end()
            raise

    def begin(self):
        raise NotImplementedError

    def camera(self, which=0):
        """Of one of its screens."""
        raise NotImplementedError

    def change(self):
        """What the case has happen to the screen while the show plays."""
        raise CannotStart(f"nothing can make a {self.case.desk} {self.case.change}")

    def can_be_held_awake(self):
        """Whether it has something for that besides the bus."""
        raise NotImplementedError

    def watch_idle(self, after_s, words):
        """A program that prints words when the desk has been idle so long, and when it no longer
        is."""
        raise NotImplementedError

    def path(self, name):
        return os.path.join(self.folder, name)

    def environment(self, **changes):
        return secluded(self.folder, LIBGL_ALWAYS_SOFTWARE="1", **changes)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)

    def start(self, command, **changes):
        with open(self.log_path, "a", encoding="utf-8") as log:
            try:
                child = subprocess.Popen(command, stdout=log, stderr=log,
                                         env=self.environment(**changes))
            except FileNotFoundError as failure:
                raise CannotStart(f"there is no {command[0]}") from failure
        self.children.append(child)
        return child

    def ask(self, *command, **changes):
        """Whether it was done."""
        with open(self.log_path, "a", encoding="utf-8") as log:
            return subprocess.run(command, stdout=log, stderr=log, check=False,
                                  env=self.environment(**changes)).returncode == 0

    def end(self):
        if self.hands:
            self.hands.end()
        for child in reversed(self.children):
            end_process(child)
        shutil.rmtree(self.folder, ignore_errors=True)


class WaylandDesk(Desk):
    def await_socket(self, compositor):
        def found():
            return [path for path in glob.glob(self.path("wayland-*"))
                    if not path.endswith(".lock") and is_listening(path)]

        wait_until(lambda: found() or compositor.poll() is not None, STARTS_WITHIN_S)
        if not found():
            raise CannotStart(f"{self.case.desk} does not start; its log is {self.log_path}")
        self.socket = found()[0]
        self.variables = {"WAYLAND_DISPLAY": os.path.basename(self.socket)}


class Wlroots(WaylandDesk):
    """What all compositors have that are built on it."""

    HEADLESS = {"WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman",
                "WLR_LIBINPUT_NO_DEVICES": "1"}
    OUTPUT = "HEADLESS-1"

    def begin(self):
        compositor = self.start(self.command(), **self.HEADLESS,
                                WLR_HEADLESS_OUTPUTS=str(self.case.screens))
        self.await_socket(compositor)
        self.hands = WaylandHands(self.socket)

    def camera(self, which=0):
        return ScreencopyCamera(self.socket, which)

    def command(self):
        raise NotImplementedError

    def backdrop(self):
        """The file of a picture. From a colour alone newer releases make a single point, which they
        do not spread evenly over a screen whose scale is broken."""
        side, (red, green, blue) = 64, BACKDROP
        path = self.path("backdrop.png")
        Picture(side, side, 4 * side, bytes((blue, green, red, 0)) * side * side).write(path)
        return path

    def can_be_held_awake(self):
        return self.hands.client.offers("zwp_idle_inhibit_manager_v1")

    def watch_idle(self, after_s, words):
        return ["swayidle", "-w", "timeout", str(after_s), "echo " + words[0], "resume",
                "echo " + words[1]]


class Sway(Wlroots):
    def command(self):
        case = self.case
        config = self.write("config", (
            "xwayland disable\n"
            f"output * resolution {case.width}x{case.height} transform {case.turned}\n"
            f"output * scale {case.scale} bg {self.backdrop()} stretch\n"))
        return [*as_other_user(), "sway", "-c", config]

    def change(self):
        orders = {"turned": f"transform {TURNED}",
                  "resized": "resolution {}x{}".format(*RESIZED), "rescaled": "scale 1"}
        ipc, = glob.glob(self.path("sway-ipc.*"))
        self.ask("swaymsg", "-s", ipc, f"output {self.OUTPUT} {orders[self.case.change]}")


class Phoc(Wlroots):
    def command(self):
        case = self.case
        outputs = "".join(
            f"[output:HEADLESS-{number + 1}]\nmode = {case.width}x{case.height}\n"
            f"scale = {case.scale}\nrotate = {case.turned}\n" for number in range(case.screens))
        return ["phoc", "-C", self.write("phoc.ini", "[core]\nxwayland=false\n" + outputs)]

    def begin(self):
        super().begin()
        self.start(["swaybg", "-m", "stretch", "-i", self.backdrop()], **self.variables)

    def change(self):
        orders = {"turned": ("--transform", TURNED),
                  "resized": ("--custom-mode", "{}x{}".format(*RESIZED)),
                  "rescaled": ("--scale", "1")}
        self.ask("wlr-randr", "--output", self.OUTPUT, *orders[self.case.change], **self.variables)


class Weston(WaylandDesk):
    """The desktop shell, for it shows windows even where there is no seat."""

    renderer = "--use-pixman"
    TURNS = {"normal": "normal", "90": "rotate-90", "180": "rotate-180", "270": "rotate-270"}

    def begin(self):
        case = self.case
        # Of the screen as it is turned and scaled.
        width, height = (int(length / case.scale) for length in (case.width, case.height))
        config = self.write("weston.ini", (
            "[core]\nidle-time=0\n"
            f"[shell]\npanel-position=none\nbackground-color=0xff{BACKDROP_HEX}\n"
            "background-type=tile\nstartup-animation=none\nanimation=none\nclose-animation=none\n"
            f"[output]\nname=headless\nmode={width}x{height}\nscale={case.scale}\n"
            f"transform={self.TURNS[case.turned]}\n"))
        # --debug lets clients photograph the screen.
        compositor = self.start(["weston", "--backend=headless-backend.so", self.renderer,
                                 "--config=" + config, "--shell=desktop-shell.so",
                                 "--socket=wayland-7", "--debug"])
        self.await_socket(compositor)

    def camera(self, which=0):
        with Client(self.socket) as client:
            kind = WestonCaptureCamera if client.offers("weston_capture_v1") else WestonCamera
        return kind(self.socket, which)


class WestonGl(Weston):
    renderer = "--use-gl"


class X(Desk):
    """Without a window manager."""

    platform = "xcb"
    # It comes step by step: in its own size, without its surface, with it, as large as the screen.
    maps_within_s = 0.25
    programs = ()

    def begin(self):
        self.screen = Screen(f"{self.case.width}x{self.case.height}")
        self.variables = {"DISPLAY": self.screen.display}
        self.hands = XHands(self.screen, (self.case.width, self.case.height))
        self.ask("hsetroot", "-solid", "#" + BACKDROP_HEX, **self.variables)
        for command in self.programs:
            self.start(command, **self.variables)

    def camera(self, which=0):
        return XCamera(self.screen.display, (self.case.width, self.case.height))

    def can_be_held_awake(self):
        return True

    def watch_idle(self, after_s, words):
        self.ask("xset", "s", str(after_s), **self.variables)
        idle, awake = words
        # Asking is no touch.
        return ["sh", "-c", "while state=$(xssstate -s); do "
                f"[ $state = on ] && echo {idle} || echo {awake}; sleep 0.1; done"]

    def end(self):
        super().end()
        if hasattr(self, "screen"):
            self.screen.end()


PICOM = ("picom", "--config", "/dev/null", "--backend", "xrender")


class Xcompositor(X):
    programs = (PICOM,)


class Openbox(X):
    programs = (("openbox",),)


class OpenboxCompositor(X):
    programs = (("openbox",), PICOM)


class Matchbox(X):
    """A window manager of phones."""

    programs = (("matchbox-window-manager",),)


class MatchboxXcompmgr(X):
    programs = (("matchbox-window-manager",), ("xcompmgr",))


DESKS = {"sway": Sway, "phoc": Phoc, "weston": Weston, "weston-gl": WestonGl, "x": X,
         "x-picom": Xcompositor, "openbox": Openbox, "openbox-picom": OpenboxCompositor,
         "matchbox": Matchbox, "matchbox-xcompmgr": MatchboxXcompmgr}
