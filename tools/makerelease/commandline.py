"""Packs what is committed as a release, into build/release-pack. Both sections when none is named:

packages  the source package, and the binary packages for the Debian that this runs on
party     what a demo party asks for: the bundle for 64-bit PCs, a script that starts it, a film and
          pictures of the show, its music, its page in two sizes, and one zip with all of that

SHA256SUMS there has the sum of each file. What lintian says of the packages, a sheet of pictures of
the film, and the logs lie in build/release-work. The bundle is made by tools/make-bundle, which needs
root, so it asks sudo where it is not, and a mirror of Debian (the variable DEBIAN_MIRROR, or this
machine's own).

The same commit gives the same bytes, in whatever folder and whenever it is packed, on machines with
the same packages installed, but for the film and the zip that it is in: no two shows are alike.
--twice packs the packages a second time, in another folder, and compares.
Exit code 1 where something could not be made, lintian found an error or a warning, or the two differ.
"""

import argparse
import os
import subprocess
import sys

from makerelease import packages
from makerelease.archive import write_sums
from makerelease.party import Party
from surroundings.commandline import add_sections, chosen_sections, exit_code
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from surroundings.table import aligned

RESULTS = os.path.join(ROOT, "build/release-pack")
WORK = os.path.join(ROOT, "build/release-work")
# On two cores, and how tools/install-packages calls what each needs.
MINUTES = {"packages": 3, "party": 17}
SETS = {"packages": ("pack",), "party": ("build", "play", "record")}


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/make-release", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    add_sections(parser, MINUTES)
    parser.add_argument("--twice", action="store_true",
                        help="compare the packages with those of a second build")
    options = parser.parse_args(arguments)
    options.sections = chosen_sections(parser, options.sections, MINUTES)
    if options.twice and "packages" not in options.sections:
        parser.error("--twice is for the packages")
    return options


def ask_git(*words):
    return subprocess.run(["git", "-c", "safe.directory=*", "-C", ROOT, *words],
                          capture_output=True, text=True, check=False).stdout.strip()


def announce(options, commit):
    minutes = sum(MINUTES[section] for section in options.sections)
    minutes += MINUTES["packages"] * options.twice
    print(f"Packing the {' and the '.join(options.sections)} of commit {commit[:10]} into {RESULTS}: "
          f"on two cores about {minutes} minutes", flush=True)
    if ask_git("status", "--porcelain"):
        print("What is not committed is not packed", flush=True)


def install_packages(sections):
    sets = [name for section in sections for name in SETS[section]]
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), *sets],
                      check=False).returncode != 0:
        raise CannotStart("not all that is needed could be installed")


def pack_packages(commit, twice):
    """One step after the other; whether all went well."""
    packed = packages.build(commit, os.path.join(WORK, "build"))
    names = packages.collect(packed, RESULTS)
    well = packages.look(names, RESULTS, os.path.join(WORK, "lintian.txt"))
    if twice:
        # Of another length, so that a path that gets into a package moves what comes after it.
        again = packages.build(commit, os.path.join(WORK, "build-of-the-second-time"))
        well = packages.compare(names, RESULTS, again) and well
    return well


def pack(options, commit):
    well = True
    if "packages" in options.sections:
        well = pack_packages(commit, options.twice)
    if "party" in options.sections:
        epoch = int(ask_git("show", "--no-patch", "--format=%ct", commit))
        Party(commit, epoch, WORK, RESULTS).make()
    write_sums(RESULTS)
    return well


def sizes(folder):
    return aligned([(name, f"{os.path.getsize(os.path.join(folder, name)) / 1024:,.0f} kB".rjust(10))
                    for name in sorted(os.listdir(folder))])


def run(options):
    commit = ask_git("rev-parse", "HEAD")
    announce(options, commit)
    install_packages(options.sections)
    # Nothing of a release before stays: its sums would not be there.
    for folder in (RESULTS, WORK):
        packages.make_empty(folder)
    well = pack(options, commit)
    print(sizes(RESULTS), flush=True)
    return 0 if well else 1


def main():
    options = parse(sys.argv[1:])
    return exit_code("make-release", lambda: run(options))
