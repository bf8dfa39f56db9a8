"""Looks whether a folder has all that its files ask for, and asks for nothing newer than the systems
that it is for have."""

import os
import re

from bundling import elf
from bundling.contents import LEFT_NAMES, NEWEST
from bundling.gathering import elf_files, search_path

VERSION = re.compile(r"^([A-Z]+)_(\d+(?:\.\d+)*)$")
# Its own, that no other release has: a promise that is not given.
PRIVATE = "GLIBC_PRIVATE"


def newer(version):
    """Whether it is newer than what this release's own libraries have."""
    match = VERSION.match(version)
    if version == PRIVATE:
        return True
    if not match or match[1] not in NEWEST:
        return False
    return tuple(map(int, match[2].split("."))) > NEWEST[match[1]]


def too_new(reader):
    """Complaints about the versions of symbols that an ELF file needs of what is left to the
    system."""
    return [f"{os.path.basename(reader.path)} needs {version} of {library}"
            for library, versions in sorted(reader.versions.items()) if library in LEFT_NAMES
            for version in sorted(versions) if newer(version)]


def astray(reader, folder):
    """Complaints about the libraries that an ELF file of the folder needs."""
    name = os.path.relpath(reader.path, folder)
    complaints = []
    if any(os.path.basename(reader.path) == needed for needed in reader.needed):
        complaints.append(f"{name} needs itself")
    for needed in reader.needed:
        left = LEFT_NAMES.get(needed)
        places = ["lib"] if not left else [os.path.join("spare", needed)] if left.spare else []
        complaints += [f"{name} needs {needed}, which is neither here nor left to the system"
                       for place in places
                       if not os.path.exists(os.path.join(folder, place, needed))]
    if reader.search != [search_path(reader.path, folder)]:
        complaints.append(f"{name} looks for libraries in {':'.join(reader.search) or 'no folder'}")
    return complaints


def not_to_be_here(folder):
    """Complaints about libraries that are here, and that the system is to have."""
    complaints = []
    for name in sorted(os.listdir(os.path.join(folder, "lib"))):
        if name in LEFT_NAMES:
            complaints.append(f"lib/{name} is to be left to the system")
    for name in sorted(os.listdir(os.path.join(folder, "spare"))):
        if not (name in LEFT_NAMES and LEFT_NAMES[name].spare):
            complaints.append(f"spare/{name} is no spare library")
    return complaints


def complaints(folder):
    """All that is wrong with it; empty where nothing is."""
    found = not_to_be_here(folder)
    for _, reader in sorted(elf.read(elf_files(folder)).items()):
        found += astray(reader, folder) + too_new(reader)
    return found
