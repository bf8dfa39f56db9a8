"""The same frames, drawn by the phone's build and by the PC's own, and how far they differ."""

import os
import shutil

from phonecheck import builds, pictures
from surroundings.screen import Screen

PROGRAM = "tests/pixmoth-frames"
DEFAULT_MOMENTS = ("1", "2.5", "4")
# For what is rounded otherwise.
ALLOWED = 0.0002
# And of what is bright, a share.
ALLOWED_SHARE = 0.01
# Releases of Qt make different things of a screen that does not say how dense it is.
LETTERS_DPI = "96"
# A system that is only unpacked has no settings for letters; so both draw by these.
LETTERS = """\
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <dir>/usr/share/fonts</dir>
  <match target="pattern">
    <edit name="family" mode="prepend" binding="strong"><string>DejaVu Sans</string></edit>
  </match>
  <match target="font">
    <edit name="antialias" mode="assign"><bool>true</bool></edit>
    <edit name="hintstyle" mode="assign"><const>hintslight</const></edit>
    <edit name="rgba" mode="assign"><const>none</const></edit>
  </match>
</fontconfig>
"""


def missing(names, moments):
    """Which pictures are not among the names, PART-MOMENT.png each, if every part up to the last
    one is to have every moment."""
    parts = {name.split("-")[0] for name in names}
    last = max((int(part) for part in parts), default=0)
    wanted = {f"{part:02}-{moment}.png" for part in range(1, last + 1) for moment in moments}
    return sorted(wanted - set(names))


def too_far(difference, brightness):
    return difference > ALLOWED + ALLOWED_SHARE * brightness


def draw(place, build, folder, moments):
    shutil.rmtree(folder, ignore_errors=True)
    settings = place.path("letters.conf")
    with open(settings, "w", encoding="utf-8") as file:
        file.write(LETTERS)
    with Screen() as screen:
        place.step("frames.log", [os.path.join(build, PROGRAM), folder, *moments],
                   DISPLAY=screen.display, QT_LOGGING_RULES="*=false", QT_FONT_DPI=LETTERS_DPI,
                   FONTCONFIG_FILE=settings)


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
    compared = [name for name in names if os.path.exists(os.path.join(phone, name))]
    with open(place.path("frames.txt"), "w", encoding="utf-8") as table:
        for name in compared:
            bright = pictures.brightness(os.path.join(desktop, name))
            apart = pictures.difference(os.path.join(desktop, name), os.path.join(phone, name))
            table.write(f"{name}: brightness {bright:.4f}, difference {apart:.6f}\n")
            furthest, where = max((furthest, where), (apart, name))
            if too_far(apart, bright):
                far.append(name)
    if far:
        wrong.append("too far: " + " ".join(far))
    summary = (f"frames: {len(compared)} of {len(names)} compared with the PC, "
               f"farthest off {where} by {100 * furthest:.2f} %")
    if wrong:
        place.failed(f"{summary}; {'; '.join(wrong)}; see {phone} and {desktop}")
    else:
        place.passed(summary)
