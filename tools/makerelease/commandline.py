"""Packs what is committed as a release: the source package of HEAD, and the binary packages for the
Debian that this runs on. They lie in build/release-pack, with what lintian says of them in
lintian.txt and the SHA-256 of each in SHA256SUMS.

The same commit gives the same bytes, in whatever folder and whenever it is packed, on machines with
the same packages installed; --twice packs it a second time, in another folder, and compares. Exit
code 1 where a package could not be built, lintian found an error or a warning, or the two differ.
"""

import argparse
import os
import subprocess
import sys

from makerelease import packages
from surroundings.commandline import exit_code
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart

RESULTS = os.path.join(ROOT, "build/release-pack")
# On two cores.
MINUTES = 3


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/make-release", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--twice", action="store_true",
                        help="compare the packages with those of a second build")
    return parser.parse_args(arguments)


def ask_git(*words):
    return subprocess.run(["git", "-c", "safe.directory=*", "-C", ROOT, *words],
                          capture_output=True, text=True, check=False).stdout.strip()


def announce(options, commit):
    print(f"Packing commit {commit[:10]} into {RESULTS}: on two cores about "
          f"{MINUTES * (1 + options.twice)} minutes", flush=True)
    if ask_git("status", "--porcelain"):
        print("What is not committed is not packed", flush=True)


def install_packages():
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "pack"],
                      check=False).returncode != 0:
        raise CannotStart("not all that is needed could be installed")


def pack(commit, twice):
    """One step after the other; whether all went well."""
    packed = packages.build(commit, os.path.join(RESULTS, "build"))
    names = packages.collect(packed, RESULTS)
    well = packages.look(names, RESULTS)
    if twice:
        # Of another length, so that a path that gets into a package moves what comes after it.
        again = packages.build(commit, os.path.join(RESULTS, "build-of-the-second-time"))
        well = packages.compare(names, RESULTS, again) and well
    return well


def run(options):
    commit = ask_git("rev-parse", "HEAD")
    announce(options, commit)
    install_packages()
    packages.make_empty(RESULTS)
    return 0 if pack(commit, options.twice) else 1


def main():
    options = parse(sys.argv[1:])
    return exit_code("make-release", lambda: run(options))
