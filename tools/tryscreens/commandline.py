"""Plays the show on screens as they are today, and looks whether it fills them: under Wayland and
X11, in several compositors and window managers, large and small, scaled, turned, more than one.

Each case starts the show once on a screen of its own, which nobody sees, films it, and ends it.
Looked at is: the size that is drawn; the screen from the first picture to the last, all of which
belongs to the show (whatever lies behind it is of a colour that the show has not); the pointer;
what the screen does while it plays; that the screen stays awake, and no longer than the show; the
end, and its code. Pictures and logs: build/screens. Needs the debug preset built. Exit code 1 where
something is wrong.
"""

import argparse
import fnmatch
import glob
import os
import signal
import subprocess
import sys

from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from surroundings.table import aligned
from tryscreens.cases import CASES
from tryscreens.trial import PROGRAM, RESULTS, Trial

CASE_TAKES_S = 14


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/try-screens", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("patterns", nargs="*", metavar="CASE",
                        help="a name out of --list, or a pattern: 'sway-*' (all)")
    parser.add_argument("--list", action="store_true", help="the names of the cases")
    options = parser.parse_args(arguments)
    options.cases = chosen(options.patterns)
    for pattern in options.patterns:
        if not chosen([pattern]):
            parser.error(f"no case is called '{pattern}'")
    return options


def chosen(patterns):
    return [case for case in CASES if not patterns or
            any(fnmatch.fnmatchcase(case.name, pattern) for pattern in patterns)]


def table(trials):
    """The findings, in columns."""
    rows = [("case", *Trial.COLUMNS)]
    rows += [(trial.case.name, *trial.found.values()) for trial in trials]
    return aligned(rows)


def try_case(case):
    for old in glob.glob(os.path.join(RESULTS, glob.escape(case.name) + "-*.png")):
        os.remove(old)
    trial = Trial(case)
    try:
        trial.run()
    except CannotStart as failure:
        trial.wrong.append(str(failure))
    print("FAIL " if trial.wrong else "PASS ", case.name, *trial.wrong, sep="  ", flush=True)
    return trial


def main():
    options = parse(sys.argv[1:])
    if options.list:
        print("\n".join(case.name for case in options.cases))
        return 0
    # So that what was started is ended.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    print(f"Playing the beginning of the show on {len(options.cases)} screens: about "
          f"{len(options.cases) * CASE_TAKES_S / 60:.0f} minutes on two cores", flush=True)
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "play", "screens"],
                      check=False).returncode != 0:
        return 1
    if not os.path.exists(PROGRAM):
        print(f"try-screens: there is no {PROGRAM}: the debug preset is not built",
              file=sys.stderr)
        return 1
    os.makedirs(RESULTS, exist_ok=True)
    try:
        trials = [try_case(case) for case in options.cases]
    except KeyboardInterrupt:
        return 128 + signal.SIGINT
    print(table(trials))
    return 1 if any(trial.wrong for trial in trials) else 0
