"""Tries a clean checkout of HEAD on several releases of Debian, each in a small system of its own:
./check and ./play as a user who is not root and may ask sudo, and then both again as root, where
all is installed and built already. Ends with a table: a line for each release, with its compiler,
Qt and Mesa, the build's warnings, the tests that passed of all, and the films.

Logs, films, and a sheet of pictures of each film: build/releases/RELEASE. The systems are removed
again, and no mount and no process is left, also when this is interrupted. Making systems needs
root, so it asks sudo where it is not, and a mirror of Debian; each release takes some 5 GB while it
is tried. Exit code 1 where a release failed or the build warned of anything; the other releases are
tried all the same.
"""

import argparse
import os
import re
import subprocess
import sys

from surroundings.commandline import add_mirror, end_in_order
from surroundings.mirror import own_mirror
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from tryreleases.table import table
from tryreleases.trial import RESULTS, SYSTEM, Trial

RELEASES = ("bookworm", "trixie", "forky", "sid")
# For a release, on two cores.
MINUTES = {"": 25, "check": 20, "play": 8}


def release(text):
    # It becomes the name of a folder.
    if not re.fullmatch("[a-z][a-z0-9-]*", text):
        raise argparse.ArgumentTypeError(f"'{text}' cannot be a release")
    return text


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/try-releases", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("releases", nargs="*", metavar="RELEASE", type=release,
                        help=f"of Debian ({' '.join(RELEASES)})")
    parser.add_argument("--only", choices=("check", "play"), default="", help="the one without the "
                        "other")
    parser.add_argument("--keep", action="store_true",
                        help="leave the systems in build/releases/RELEASE/system")
    add_mirror(parser)
    options = parser.parse_args(arguments)
    # Each once, in the order in which they are named.
    options.releases = list(dict.fromkeys(options.releases or RELEASES))
    return options


def become_root(arguments, mirror):
    """Starts anew under sudo, which takes most variables away."""
    try:
        os.execvp("sudo", ["sudo", *arguments, "--mirror", mirror])
    except FileNotFoundError:
        raise CannotStart("it has to be root, and there is no sudo") from None


def ask_git(*words):
    return subprocess.run(["git", "-C", ROOT, *words], capture_output=True, text=True,
                          check=False).stdout.strip()


def announce(options, commit):
    print(f"Trying commit {commit[:10]} on {', '.join(options.releases)} from {options.mirror}: on "
          f"two cores about {MINUTES[options.only]} minutes each, and longer through a slow line",
          flush=True)
    if ask_git("status", "--porcelain"):
        print("What is not committed is not tried", flush=True)


def give_to_who_asked(results):
    """But for systems that are kept: in those it matters whose a file is."""
    if "SUDO_UID" not in os.environ:
        return
    owner = int(os.environ["SUDO_UID"]), int(os.environ["SUDO_GID"])
    os.chown(os.path.dirname(results), *owner)
    for folder, folders, files in os.walk(results):
        if SYSTEM in folders:
            folders.remove(SYSTEM)
        for name in (".", *files):
            os.chown(os.path.join(folder, name), *owner, follow_symlinks=False)


def run(options, commit):
    announce(options, commit)
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "releases"],
                      check=False).returncode != 0:
        raise CannotStart("not all that is needed could be installed")
    os.makedirs(RESULTS, exist_ok=True)
    outcomes = []
    try:
        for name in options.releases:
            outcomes.append(Trial(name, commit, options.mirror, options.only, options.keep).go())
    finally:
        # Of those, too, that were tried until somebody ended it.
        told = table(outcomes)
        print("\n" + told, flush=True)
        with open(os.path.join(RESULTS, "table.txt"), "w", encoding="utf-8") as file:
            print(told, file=file)
        give_to_who_asked(RESULTS)
    return 1 if any(outcome.complaints for outcome in outcomes) else 0


def act(name, options, nearest, run, arguments):
    """What tools do that make systems: as root, with a mirror (one of the release `nearest` where
    none was named), and in order where somebody ends them. `run` does it, with the commit that all
    of them get though somebody may go on working. Returns the exit code."""
    end_in_order("Ending, and removing the system that was made\n")
    try:
        options.mirror = options.mirror or own_mirror(nearest)
        if not options.mirror:
            raise CannotStart("no mirror is known; run apt-get update, or name one with --mirror")
        if os.geteuid() != 0:
            become_root(arguments, options.mirror)
        return run(options, ask_git("rev-parse", "HEAD"))
    except CannotStart as failure:
        print(f"{name}: {failure}", file=sys.stderr)
        return 1


def main():
    options = parse(sys.argv[1:])
    return act("try-releases", options, options.releases[0], run, sys.argv)
