"""The compiler of this machine, with the phone's C library in place of the one that it brings
along: a release's headers and libraries fit each other, and may be newer than both."""

import os
import subprocess



def search_list(told):
    """Where a compiler looks for headers, as "-E -v" tells it: one folder a line, indented."""
    folders = told.partition("#include <...> search starts here:\n")[2]
    return [os.path.realpath(line.strip())
            for line in folders.partition("End of search list.")[0].splitlines()]


def header_folders(folders, triplet):
    """The same without the C library that the compiler brings along."""
    return [folder for folder in folders if folder != f"/usr/{triplet}/include"]


def compiler_flags(place):
    """Each folder of headers is named: the one that it brings along cannot be left out alone."""
    target = place.target
    told = subprocess.run([target.compiler, "--sysroot=" + place.sysroot,
                           "-E", "-v", "-x", "c++", os.devnull],
                          env=dict(os.environ, LC_ALL="C"), capture_output=True, text=True,
                          check=True).stderr
    flags = ["-nostdinc", *target.definitions]
    for folder in header_folders(search_list(told), target.architecture.triplet):
        flags += ["-isystem", folder]
    return flags


def linker_flags(place):
    """What a program starts with, and its libraries, are the phone's before the compiler's own."""
    return ["-B" + place.libraries, "-L" + place.libraries]
