"""What is tried: which screen, in which surroundings, what happens to it, and how the show ends."""

import math
from dataclasses import dataclass


@dataclass(frozen=True)
class Case:
    """A start of the show. The size is the screen's own, in pixels, before it is turned."""

    desk: str
    width: int
    height: int
    scale: float = 1
    turned: str = "normal"  # As the compositors count: degrees.
    screens: int = 1
    change: str = ""  # What happens to the screen while the show plays: see Desk.change().
    end: str = "key"  # Or "close", or "signal".
    # Or "compositor", "server": no bus, and the idle time of that has to be held off.
    saver: str = "service"
    # Or "console": nobody tells the toolkit what the screen is, nor does the session, which calls
    # itself one of GNOME's kind.
    start: str = "told"

    @property
    def name(self):
        words = [self.desk, f"{self.width}x{self.height}"]
        if self.scale != 1:
            words.append(f"by-{self.scale:g}")
        if self.turned != "normal":
            words.append(f"at-{self.turned}")
        if self.screens > 1:
            words.append(f"{self.screens}-screens")
        words += filter(None, (self.change, self.end))
        if self.saver != "service":
            words.append(self.saver)
        if self.start != "told":
            words.append(self.start)
        return "-".join(words)

    def buffer(self, changed):
        """The size that the show should draw in: so many pixels as the screen has, or more where
        the scale is broken. The toolkit knows whole scales only, and has the compositor shrink the
        picture from the next."""
        width, height, scale, turned = self.width, self.height, self.scale, self.turned
        # It keeps that of the start.
        whole = math.ceil(scale)
        if changed:
            if self.change == "resized":
                width, height = RESIZED
            elif self.change == "rescaled":
                scale = 1
            elif self.change == "turned":
                turned = TURNED
        if turned in ("90", "270"):
            width, height = height, width
        return tuple(whole * int(length / scale) for length in (width, height))


RESIZED = (1024, 600)
TURNED = "90"


def wayland_cases(desk):
    """For compositors in which everything can be done."""
    return (
        Case(desk, 800, 480),
        Case(desk, 720, 1440, 2, end="close"),
        Case(desk, 1080, 1920, 1.5, end="signal"),
        Case(desk, 1366, 768, 1.5),
        Case(desk, 720, 1440, 2, "90"),
        Case(desk, 720, 1440, 2, change="turned"),
        Case(desk, 800, 480, change="resized"),
        Case(desk, 720, 1440, 2, change="rescaled"),
        Case(desk, 800, 480, screens=2),
        Case(desk, 800, 480, saver="compositor"),
        Case(desk, 720, 1440, 2, end="signal", saver="compositor"),
        Case(desk, 720, 1440, 2, start="console"),
    )


CASES = (
    *wayland_cases("sway"),
    *wayland_cases("phoc"),
    # Nothing can touch it there, nor change its screen.
    Case("weston", 800, 480, end="signal"),
    Case("weston", 720, 1440, 2, end="signal"),
    Case("weston", 720, 1440, 2, "90", end="signal"),
    Case("weston-gl", 720, 1440, 2, end="signal"),
    Case("x", 800, 480),
    Case("x", 720, 1440, end="signal"),
    Case("x", 800, 480, saver="server"),
    Case("x", 800, 480, end="signal", saver="server"),
    Case("x-picom", 1024, 600),
    Case("openbox", 1024, 600),
    Case("openbox", 1024, 600, end="close"),
    Case("openbox", 1024, 600, end="close", saver="server"),
    Case("openbox-picom", 1024, 600, end="close"),
    Case("matchbox", 480, 800, end="close"),
    Case("matchbox-xcompmgr", 480, 800),
)
