"""Films a screen, and tells what was to be seen, in which order."""

import threading
import time
from dataclasses import dataclass

from surroundings.surrounding import CannotStart, Surrounding
from surroundings.waiting import wait_until
from tryscreens.picture import kind

# What must not be seen at any time, but for a moment after a change of the screen.
WRONG = ("part", "white")


@dataclass
class Scene:
    """Pictures of one kind in a row, and when the first and the last of them were taken."""

    kind: str
    first_s: float
    last_s: float
    pictures: int = 1

    def __str__(self):
        return f"{self.kind} {self.last_s - self.first_s:.2f} s"


class Film(Surrounding):
    """Begins at once. `keep` is called with the first picture of each scene and its number."""

    def __init__(self, camera, keep=lambda picture, number, kind: None):
        self.camera = camera
        self.keep = keep
        self.scenes = []
        self.latest = None
        self.moves = 0  # How often the points that are looked at were others than before.
        self.failure = None
        self.grid = None
        self.going = True
        self.begin_s = time.monotonic()
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def now_s(self):
        return time.monotonic() - self.begin_s

    def run(self):
        try:
            while self.going:
                picture = self.camera.picture()
                if picture:
                    self.note(picture, self.now_s())
        except (CannotStart, OSError) as failure:
            self.failure = failure

    def note(self, picture, now_s):
        seen = kind(picture)
        if self.scenes and self.scenes[-1].kind == seen:
            self.scenes[-1].last_s = now_s
            self.scenes[-1].pictures += 1
        else:
            self.scenes.append(Scene(seen, now_s, now_s))
            self.keep(picture, len(self.scenes), seen)
        grid = picture.grid()
        if self.grid is not None and grid != self.grid:
            self.moves += 1
        self.grid = grid
        self.latest = picture

    def restart(self):
        """Forgets what was seen; the last scene goes on."""
        self.scenes = self.scenes[-1:]

    def shows(self, *kinds):
        return bool(self.scenes) and self.scenes[-1].kind in kinds

    def await_kind(self, limit_s, *kinds):
        return wait_until(lambda: self.shows(*kinds) or self.failure, limit_s) and not self.failure

    def wrong(self, from_s=0.0, to_s=float("inf")):
        """The scenes that should not have been, between two moments."""
        return [scene for scene in self.scenes
                if scene.kind in WRONG and scene.last_s >= from_s and scene.first_s <= to_s]

    def stop(self):
        self.going = False
        self.thread.join(10)

    def end(self):
        self.stop()
        self.camera.end()


def beginning(scenes, maps_within_s):
    """What is wrong with how the show came to the screen: from its first picture on, but for the
    time that its window takes to come, it is as large as the screen and black, and it stays."""
    shown = scenes[:]
    while shown and shown[0].kind == "backdrop":
        shown.pop(0)
    if len(shown) > 1 and shown[0].kind == "part" and (
            shown[0].last_s - shown[0].first_s < maps_within_s):
        shown.pop(0)
    if not shown:
        return "the show is never seen"
    if shown[0].kind != "black":
        return f"{shown[0]} before it is black"
    if any(scene.kind not in ("black", "painted") for scene in shown):
        return f"it does not stay: {', '.join(map(str, shown))}"
    return ""


def ending(scenes):
    """What is wrong with how it went."""
    kinds = [scene.kind for scene in scenes]
    if not kinds or kinds[-1] != "backdrop":
        return "the screen is not given back"
    if len(kinds) > 1 and kinds[-2] not in ("black", "painted"):
        return f"the last picture is {kinds[-2]}"
    return ""
