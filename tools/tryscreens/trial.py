"""One case: starts the show, looks, acts, and judges."""

import os
import re
import signal
import subprocess
import time
from contextlib import ExitStack

from surroundings.bus import Bus
from surroundings.screen import WINDOW_TITLE
from surroundings.show import FIRST_FRAME_LINE, ROOT, read_log
from surroundings.waiting import wait_until
from tryscreens.desks import DESKS
from tryscreens.film import Film, beginning, ending
from tryscreens.picture import shows_pointer

RESULTS = os.path.join(ROOT, "build/screens")
PROGRAM = os.path.join(ROOT, "build/debug/src/pixmoth")

STARTS_WITHIN_S = 15
# The black of the beginning, and a tree that has grown to be seen.
PAINTS_WITHIN_S = 15
PLAYS_S = 2
POINTER_GOES_WITHIN_S = 3
# After a change: until the show has filled the screen again.
SETTLES_S = 1.5
ENDS_WITHIN_S = 2
# After so long without anybody's touch the desk is idle, unless that is held off.
IDLE_AFTER_S = 4
IDLE_WORDS = ("idle", "awake")

# How the toolkit's requests are told of: with "#" for "@" since Wayland 1.23.
BUFFER = re.compile(r"create_buffer\(new id wl_buffer[@#](\d+), \d+, (\d+), (\d+),")
ATTACH = re.compile(r"wl_surface[@#](\d+)\.attach\(wl_buffer[@#](\d+),")


def drawn_size(log):
    """Of what was last drawn on the surface that most is drawn on, out of a log of requests."""
    sizes, last, count = {}, {}, {}
    for line in log.split("\n"):
        made, attached = BUFFER.search(line), ATTACH.search(line)
        if made:
            sizes[made[1]] = int(made[2]), int(made[3])
        elif attached:
            surface, buffer = attached.groups()
            last[surface] = sizes.get(buffer)
            count[surface] = count.get(surface, 0) + 1
    return last[max(count, key=count.get)] if count else None


class Trial:
    """The findings of a case, each a word or a few for its column of the table."""

    COLUMNS = ("size", "pointer", "start", "change", "idle", "end")

    def __init__(self, case):
        self.case = case
        self.found = dict.fromkeys(self.COLUMNS, "–")
        self.wrong = []
        self.log_path = os.path.join(RESULTS, case.name + ".log")
        self.show = None
        self.film = None

    def note(self, column, what, complaint=""):
        self.found[column] = complaint or what
        if complaint:
            self.wrong.append(f"{column}: {complaint}")

    def picture_path(self, word):
        return os.path.join(RESULTS, f"{self.case.name}-{word}.png")

    def run(self):
        case = self.case
        with ExitStack() as stack:
            desk = stack.enter_context(DESKS[case.desk](
                case, os.path.join(RESULTS, case.name + "-desk.log")))
            self.film = stack.enter_context(Film(
                desk.camera(), lambda picture, number, kind: number < 40 and
                picture.write(self.picture_path(f"scene{number:02}-{kind}"))))
            bus = stack.enter_context(Bus()) if case.saver == "service" else None
            if not self.film.await_kind(STARTS_WITHIN_S, "backdrop"):
                return self.note("start", "", f"no backdrop is seen ({self.film.failure})")
            if desk.hands:
                desk.hands.point()
            idle = self.watch_idle(desk) if case.saver != "service" else None
            self.film.restart()
            stack.callback(self.kill)
            self.begin(desk, bus)
            self.watch(desk)
            self.look_at_saver(bus, idle, True)
            self.finish(desk)
            self.look_at_saver(bus, idle, False)

    def watch_idle(self, desk):
        """None where nothing can be held off."""
        if not desk.can_be_held_awake():
            self.note("idle", f"{self.case.saver}: cannot be held off")
            return None
        idle = Idle(desk)
        if not wait_until(idle.is_idle, IDLE_AFTER_S + 8):
            self.note("idle", "", "the desk is never idle")
            return None
        # Whoever starts the show has just touched the screen.
        desk.hands.point()
        return idle

    def begin(self, desk, bus):
        changes = dict(desk.variables, WAYLAND_DEBUG="1")
        if self.case.start == "told":
            changes["QT_QPA_PLATFORM"] = desk.platform
        else:
            changes.update(XDG_SESSION_TYPE="tty", XDG_CURRENT_DESKTOP="Phosh:GNOME")
        if bus:
            changes["DBUS_SESSION_BUS_ADDRESS"] = bus.address
        with open(self.log_path, "w", encoding="utf-8") as log:
            self.show = subprocess.Popen([PROGRAM], stdout=log, stderr=log,
                                         env=desk.environment(**changes))

    def kill(self):
        self.show.kill()
        self.show.wait()

    def log(self):
        return read_log(self.log_path)

    def watch(self, desk):
        case, film = self.case, self.film
        touched_s = film.now_s()
        wait_until(lambda: FIRST_FRAME_LINE in self.log(), STARTS_WITHIN_S)
        if not film.await_kind(STARTS_WITHIN_S, "black"):
            self.note("start", "", "it is not black at first")
        self.look_for_pointer(desk)
        painted = film.await_kind(PAINTS_WITHIN_S, "painted")
        moves = film.moves
        time.sleep(PLAYS_S)
        if case.saver != "service":
            # Since the touch that it was started with.
            time.sleep(max(touched_s + IDLE_AFTER_S + 1 - film.now_s(), 0))
        started = film.now_s()
        self.film.latest.write(self.picture_path("plays"))
        complaint = beginning(film.scenes, desk.maps_within_s)
        if film.failure:
            complaint = str(film.failure)
        elif not painted or film.moves == moves:
            complaint = complaint or "nothing moves on the screen"
        self.note("start", " ".join(map(str, film.scenes[1:3])), complaint)
        self.look_at_size(desk, False)
        if case.change:
            desk.change()
            time.sleep(SETTLES_S)
            moves, settled = film.moves, film.now_s()
            time.sleep(PLAYS_S)
            film.latest.write(self.picture_path("changed"))
            complaint = ""
            if film.wrong(settled) or not film.shows("black", "painted"):
                complaint = f"{film.scenes[-1].kind} after it"
            elif film.moves == moves:
                complaint = "nothing moves after it"
            between = film.wrong(started, settled)
            self.note("change", f"{case.change}, {', '.join(map(str, between)) or 'at once'}",
                      complaint)
            self.look_at_size(desk, True)
        if case.screens > 1:
            with desk.camera(1) as other:
                picture = other.picture()
                picture.write(self.picture_path("other"))

    def look_for_pointer(self, desk):
        if not desk.hands:
            return
        # Some compositors keep the one of before until the show has its say.
        hidden = wait_until(lambda: not shows_pointer(self.film.latest), POINTER_GOES_WITHIN_S)
        self.note("pointer", "hidden", "" if hidden else "seen")
        if not hidden:
            self.film.latest.write(self.picture_path("pointer"))

    def look_at_size(self, desk, changed):
        if desk.platform == "wayland":
            drawn, expected = drawn_size(self.log()), self.case.buffer(changed)
        else:
            at = desk.screen.geometry(desk.screen.window(5))
            drawn = tuple(int(at.get(name, 0)) for name in ("WIDTH", "HEIGHT"))
            expected = self.case.width, self.case.height
        what = "{}x{}".format(*drawn or (0, 0))
        self.note("size", what, "" if drawn == expected else
                  "{} instead of {}x{}".format(what, *expected))

    def look_at_saver(self, bus, idle, playing):
        if bus:
            right = wait_until(lambda: bus.holders() == int(playing), 2)
            self.note("idle", "service: held off, let go",
                      "" if right else "not held off" if playing else "not let go")
        if idle and playing:
            self.note("idle", "", "" if not idle.is_idle() else "not held off")
        elif idle and not self.found["idle"]:
            self.note("idle", f"{self.case.saver}: held off, let go",
                      "" if wait_until(idle.is_idle, IDLE_AFTER_S + 3) else "not let go")

    def finish(self, desk):
        before = self.film.now_s()
        begin = time.monotonic()
        if self.case.end == "signal":
            self.show.terminate()
        elif self.case.end == "close":
            desk.hands.close(WINDOW_TITLE)
        else:
            desk.hands.press()
        try:
            code = self.show.wait(20)
        except subprocess.TimeoutExpired:
            code = "none"
        took = time.monotonic() - begin
        right = (-signal.SIGTERM,) if self.case.end == "signal" else (0,)
        complaint = ""
        if code not in right:
            complaint = f"{self.case.end}: code {code}"
        elif took > ENDS_WITHIN_S:
            complaint = f"{self.case.end}: after {took:.1f} s"
        self.film.await_kind(2, "backdrop")
        complaint = complaint or ending([scene for scene in self.film.scenes
                                         if scene.last_s > before - 0.5])
        self.note("end", f"{self.case.end}, {took:.1f} s", complaint)


class Idle:
    """Watches whether a desk takes itself for idle. It is ended with the desk."""

    def __init__(self, desk):
        self.path = desk.path("idle")
        command = " ".join(f"'{word}'" for word in desk.watch_idle(IDLE_AFTER_S, IDLE_WORDS))
        desk.start(["sh", "-c", f"exec {command} >'{self.path}'"], **desk.variables)

    def is_idle(self):
        return os.path.exists(self.path) and read_log(self.path).split()[-1:] == [IDLE_WORDS[0]]
