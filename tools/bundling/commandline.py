"""Makes one archive with the show and all it needs but the system's OpenGL driver: for 64-bit PCs
with Debian 12 or any system that is no older. Unpacked, ./pixmoth plays it; nothing is installed.

It is built of what is committed, in a small Debian 12 that is made for it and removed again: about
10 minutes on two cores. --try plays it in bare systems of other releases as well, 3 minutes each:
whether it starts, from a folder with blanks and an umlaut, through a link and in no language, what
is seen and heard, and how it ends; pictures and logs lie in build/bundle/trial-RELEASE. All of that
needs root, so it asks sudo where it is not, and a mirror of Debian.

The archive: build/bundle/pixmoth-VERSION-x86_64.tar.xz. Exit code 1 where it could not be made,
lacks something, asks for more than Debian 12 has, or failed in a trial.
"""

import argparse
import os
import subprocess
import sys

from bundling.building import RESULTS, Building, archive_name
from bundling.trial import COLUMNS, Trial
from surroundings.commandline import add_mirror
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from surroundings.table import aligned
from tryreleases.commandline import act, ask_git, give_to_who_asked, release

RELEASES = ("bookworm", "trixie", "forky")


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/make-bundle", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--try", nargs="*", metavar="RELEASE", type=release, dest="releases",
                        help=f"of Debian ({' '.join(RELEASES)})")
    parser.add_argument("--archive", help="try this one, and make none")
    parser.add_argument("--commit", help="build this one (HEAD)")
    parser.add_argument("--keep", action="store_true",
                        help="leave the systems in build/bundle")
    add_mirror(parser)
    options = parser.parse_args(arguments)
    if options.archive and options.releases is None:
        parser.error("--archive is for --try")
    if options.archive and not os.path.isfile(options.archive):
        parser.error(f"there is no {options.archive}")
    options.releases = [] if options.releases is None else \
        list(dict.fromkeys(options.releases or RELEASES))
    return options


def announce(options, commit):
    if not options.archive:
        print(f"Making {archive_name()} of commit {commit[:10]} with packages from "
              f"{options.mirror}: about 10 minutes on two cores", flush=True)
        if ask_git("status", "--porcelain"):
            print("What is not committed is not in it", flush=True)
    if options.releases:
        print(f"Playing it on {', '.join(options.releases)}: about 3 minutes each", flush=True)


def table(outcomes):
    return aligned([("release", *COLUMNS),
                    *((outcome.release, *(outcome.found.get(name, "-") for name in COLUMNS))
                      for outcome in outcomes)])


def run(options, commit):
    commit = options.commit or commit
    announce(options, commit)
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "bundle"],
                      check=False).returncode != 0:
        raise CannotStart("not all that is needed could be installed")
    os.makedirs(RESULTS, exist_ok=True)
    try:
        archive = options.archive or Building(
            commit, int(ask_git("show", "--no-patch", "--format=%ct", commit)), options.mirror,
            options.keep).go()
        outcomes = [Trial(name, archive, options.mirror, options.keep).go()
                    for name in options.releases]
    finally:
        give_to_who_asked(RESULTS)
    if outcomes:
        print("\n" + table(outcomes), flush=True)
    return 1 if any(outcome.complaints for outcome in outcomes) else 0


def main():
    options = parse(sys.argv[1:])
    return act("make-bundle", options, "bookworm", run, sys.argv)
