"""The same frames, drawn by the phone's build and by the PC's own, and how far they differ."""

import os
import platform
import shutil

from phonecheck import builds, pictures
from surroundings.screen import Screen

PROGRAM = "tests/pixmoth-frames"
DEFAULT_MOMENTS = ("1", "2.5", "4")
# Rounding, and the outlines of letters, make up to a thousandth.
ALLOWED = 0.0005
# And another release's letters are set a fraction of a dot nearer or further.
ALLOWED_OF_ANOTHER_RELEASE = 0.001
# And of what is bright, a share.
ALLOWED_SHARE = 0.05
# Releases of Qt make different things of a screen that does not say how dense it is.
LETTERS_DPI = "96"


def missing(names, moments):
    """Which pictures are not among the names, PART-MOMENT.png each, if every part up to the last
    one is to have every moment."""
    parts = {name.split("-")[0] for name in names}
    last = max((int(part) for part in parts), default=0)
    wanted = {f"{part:02}-{moment}.png" for part in range(1, last + 1) for moment in moments}
    return sorted(wanted - set(names))


def allowed(release, own_release):
    return ALLOWED if release == own_release else ALLOWED_OF_ANOTHER_RELEASE


def too_far(difference, brightness, anyway):
    """`anyway` is what a black frame may differ by."""
    return difference > anyway + ALLOWED_SHARE * brightness


def draw(place, build, folder, moments):
    shutil.rmtree(folder, ignore_errors=True)
    with Screen() as screen:
        place.step("frames.log", [os.path.join(build, PROGRAM), folder, *moments],
                   DISPLAY=screen.display, QT_LOGGING_RULES="*=false", QT_FONT_DPI=LETTERS_DPI)


def check(place, options):
    builds.build_phone(place, "pixmoth-frames")
    builds.build_desktop(place, "pixmoth-frames")
    phone = place.path("frames")
    desktop = place.path("frames-desktop")
    draw(place, place.build, phone, options.moments)
    draw(place, place.desktop_build, desktop, options.moments)

    names = sorted(os.listdir(desktop))
    wrong = []
    if missing(names, options.moments) or not names:
        wrong.append(f"the PC did not draw {' '.join(missing(names, options.moments)) or 'any'}")
    if sorted(os.listdir(phone)) != names:
        wrong.append("phone and PC did not draw the same frames")
    furthest, where, far = 0.0, "none", []
    anyway = allowed(place.target.release.name,
                     platform.freedesktop_os_release().get("VERSION_CODENAME"))
    compared = [name for name in names if os.path.exists(os.path.join(phone, name))]
    with open(place.path("frames.txt"), "w", encoding="utf-8") as table:
        for name in compared:
            bright = pictures.brightness(os.path.join(desktop, name))
            apart = pictures.difference(os.path.join(desktop, name), os.path.join(phone, name))
            table.write(f"{name}: brightness {bright:.4f}, difference {apart:.6f}\n")
            furthest, where = max((furthest, where), (apart, name))
            if too_far(apart, bright, anyway):
                far.append(name)
    if far:
        wrong.append("too far: " + " ".join(far))
    summary = (f"frames: {len(compared)} of {len(names)} compared with the PC, "
               f"farthest off {where} by {100 * furthest:.2f} %")
    if wrong:
        place.failed(f"{summary}; {'; '.join(wrong)}; see {phone} and {desktop}")
    else:
        place.passed(summary)
