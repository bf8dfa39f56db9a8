"""What the command lines of the checks have in common."""

import os
import signal
import sys

from surroundings.surrounding import CannotStart


def add_sections(parser, names):
    # Not as choices: argparse would not let one name none.
    parser.add_argument("sections", nargs="*", metavar="SECTION",
                        help="one of " + ", ".join(names))


def add_mirror(parser):
    parser.add_argument("--mirror", metavar="URI", default=os.environ.get("DEBIAN_MIRROR", ""),
                        help="of Debian (the variable DEBIAN_MIRROR, or this machine's own)")


def chosen_sections(parser, named, names):
    """Those that were named, in their own order; all of them when none was."""
    for section in named:
        if section not in names:
            parser.error(f"there is nothing called '{section}' to check")
    return [name for name in names if name in named or not named]


def exit_code(tool, check):
    """Of a check, a function that returns one, and which ends what it has started."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    try:
        return check()
    except CannotStart as failure:
        print(f"{tool}: {failure}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 128 + signal.SIGINT
