"""Reads what programs and libraries ask of others, as binutils' objdump tells it."""

import os
import re
import subprocess
from dataclasses import dataclass, field

from surroundings.surrounding import CannotStart

MAGIC = b"\x7fELF"
# The command line has a limit.
FILES_AT_ONCE = 200

HEAD = re.compile(r"^(?P<path>/.*):\s+file format \S+$")
ENTRY = re.compile(r"^  (?P<tag>NEEDED|SONAME|RUNPATH|RPATH)\s+(?P<value>.+)$")
REQUIRED_FROM = re.compile(r"^  required from (?P<library>\S+):$")
VERSION = re.compile(r"^    0x[0-9a-f]+ 0x[0-9a-f]+ \d+ (?P<version>\S+)$")


@dataclass
class Elf:
    """A program or a library. `versions` are those of symbols, by the library that has them."""

    path: str
    soname: str = ""
    needed: list = field(default_factory=list)
    search: list = field(default_factory=list)  # Folders, as they are written in it.
    versions: dict = field(default_factory=dict)

    def add(self, tag, value):
        if tag == "NEEDED":
            self.needed.append(value)
        elif tag == "SONAME":
            self.soname = value
        else:
            self.search = value.split(":")


def is_elf(path):
    if os.path.islink(path) or not os.path.isfile(path):
        return False
    with open(path, "rb") as file:
        return file.read(len(MAGIC)) == MAGIC


def parse(told):
    """What objdump has told, as {path: Elf}."""
    found = {}
    elf, library = None, ""
    for line in told.splitlines():
        if match := HEAD.match(line):
            elf = found[match["path"]] = Elf(match["path"])
        elif match := ENTRY.match(line):
            elf.add(match["tag"], match["value"])
        elif match := REQUIRED_FROM.match(line):
            library = match["library"]
        elif match := VERSION.match(line):
            elf.versions.setdefault(library, []).append(match["version"])
    return found


def read(paths):
    """Of files that are ELF, with absolute paths."""
    paths = list(paths)
    found = {}
    for first in range(0, len(paths), FILES_AT_ONCE):
        told = subprocess.run(["objdump", "--private-headers", *paths[first:first + FILES_AT_ONCE]],
                              capture_output=True, text=True, check=False,
                              env={**os.environ, "LC_ALL": "C"})
        if told.returncode != 0:
            raise CannotStart("objdump: " + told.stderr.strip())
        found.update(parse(told.stdout))
    return found
