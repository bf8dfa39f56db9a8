"""What a demo party gets."""

import re
from dataclasses import dataclass

from bundling.building import archive_name

# Of the frames that the show draws with fixed names, battery and chance: the part, and the seconds
# into it. The lattice, the tree, the tunnel, the jealous face, and the title.
MOMENTS = (("04", "2"), ("06", "2.5"), ("08", "1.5"), ("10", "2.5"), ("16", "2.5"))

FILM = "pixmoth.mp4"
MUSIC = "beat.mp3"
LICENCE = "LICENSE"
# In packaging/party, with @VERSION@ where the version is to be. The page that sites look for first is
# the archive's first, too.
PAGES = ("file_id.diz", "pixmoth.nfo")
START = "start"
PLACEHOLDER = "@VERSION@"


@dataclass(frozen=True)
class Picture:
    name: str
    frame: str  # As pixmoth-frames names it.


PICTURES = tuple(Picture(f"pixmoth-{number}.png", f"{part}-{seconds}.png")
                 for number, (part, seconds) in enumerate(MOMENTS, 1))


def bundle(version):
    return archive_name(version) + ".tar.xz"


def archive(version):
    return f"pixmoth-{version}.zip"


def names(version):
    """What is in the archive, in its order."""
    return (*PAGES, START, bundle(version), FILM, MUSIC,
            *(picture.name for picture in PICTURES), LICENCE)


def fill(text, version):
    """With the version in it. What follows after two blanks or more stays in its column."""
    return re.sub(re.escape(PLACEHOLDER) + r"(?:(\S*)(  +))?",
                  lambda found: (version + (found[1] or "")).ljust(len(found[0]))
                  if found[2] else version, text)
