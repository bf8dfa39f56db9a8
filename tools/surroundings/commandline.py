"""What the command lines of the checks have in common."""

import os
import signal
import sys

from surroundings.surrounding import CannotStart

SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


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


def end_in_order(message=""):
    """From here on a signal is an exception, so that what was started is ended and removed, whatever
    comes in the meantime. The message is told then."""
    def end(number, _frame):
        for other in SIGNALS:
            signal.signal(other, signal.SIG_IGN)
        if message:
            # It may come in the midst of a print, which does not suffer another.
            os.write(sys.stdout.fileno(), message.encode())
        sys.exit(128 + number)
    for number in SIGNALS:
        signal.signal(number, end)


def exit_code(tool, check):
    """Of a check, a function that returns one, and which ends what it has started."""
    end_in_order()
    try:
        return check()
    except CannotStart as failure:
        print(f"{tool}: {failure}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 128 + signal.SIGINT
