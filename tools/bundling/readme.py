"""The page that lies in the archive."""

import textwrap

from bundling.contents import LEFT

WIDTH = 90

HEAD = """\
pixmoth {version}: ninety seconds of lines, light and a face, with a beat under it.

    ./pixmoth

plays it, full screen, under X11 or Wayland. Any key ends it. The folder may lie anywhere, be
moved, be reached through links, and be read-only. Its path must have neither colon nor
semicolon: lists of folders are written with them.

It runs on 64-bit PCs with a system no older than Debian 12 (glibc 2.36) and an OpenGL driver. Of
the system it takes the display, the session's bus, the sound server or card, and these libraries:

"""
SPARE = """\
Of those marked with a star there is one in `spare`, for a system that has none, and for no other.

What lies here keeps a list of plug-ins in ~/.cache/pixmoth, and nothing else.

Licences: LICENSE for the show, licences/README for all else.
"""


def readme(version):
    paragraphs = []
    for left in LEFT:
        names = ", ".join(name + ("*" if left.spare else "") for name in left.names)
        paragraphs.append(textwrap.fill(names, WIDTH, initial_indent="  ", subsequent_indent="  ",
                                        break_on_hyphens=False) + "\n" +
                          textwrap.fill(left.reason, WIDTH, initial_indent="      ",
                                        subsequent_indent="      ") + "\n\n")
    return HEAD.format(version=version) + "".join(paragraphs) + SPARE
