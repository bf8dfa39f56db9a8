"""Whose all of it is, under which licence, and where its sources are."""

import glob
import os
import re
import shutil
from dataclasses import dataclass

from bundling.contents import RELEASE
from surroundings.surrounding import CannotStart

COMMON = "usr/share/common-licenses"
# In one field: "source", or "source (version)" where that is another than the package's.
SOURCE = re.compile(r"^(\S+)(?: \((\S+)\))?$")
MERGED = ("bin", "sbin", "lib", "lib64")

PAGE = f"""\
Besides the show itself (see ../LICENSE) this folder has programs, libraries and data of Debian 12
("{RELEASE}"), as its packages have them, but for the place where each looks for libraries. Here is
the file of copyrights and licences of each of these packages, and in common-licenses what those files
refer to.

The source of each package is Debian's source package of the same release, in the version below:

    https://snapshot.debian.org/package/SOURCE/VERSION/

or, on a Debian that has the sources of {RELEASE}, `apt-get source SOURCE=VERSION`. The libraries are
files of their own in ../lib: whoever changes one can put it in the other's place.

"""


@dataclass(frozen=True, order=True)
class Package:
    name: str
    version: str
    source: str
    source_version: str


def merged(path):
    """The one name of a file in a system in which /lib is a link to /usr/lib."""
    return "usr/" + path if path.split("/")[0] in MERGED else path


def owners(root):
    """Of all files of a system: {relative path: name of a package}."""
    found = {}
    for path in glob.glob(os.path.join(glob.escape(root), "var/lib/dpkg/info/*.list")):
        name = os.path.basename(path).removesuffix(".list").partition(":")[0]
        with open(path, encoding="utf-8") as file:
            for line in file:
                found[merged(line.strip().lstrip("/"))] = name
    return found


def packages(status):
    """What dpkg's status says, by name."""
    found = {}
    for block in status.split("\n\n"):
        fields = dict(line.split(": ", 1) for line in block.splitlines()
                      if ": " in line and not line.startswith(" "))
        if "Package" not in fields or "Version" not in fields:
            continue
        name, version = fields["Package"], fields["Version"]
        source, source_version = SOURCE.match(fields.get("Source", name)).groups()
        found[name] = Package(name, version, source, source_version or version)
    return found


def packages_of(files, root):
    """Those that the files, relative to the root, belong to."""
    owner_of = owners(root)
    with open(os.path.join(root, "var/lib/dpkg/status"), encoding="utf-8") as file:
        known = packages(file.read())
    found = set()
    for name in files:
        if name not in owner_of:
            raise CannotStart(f"{name} is of no package, and under no known licence")
        found.add(known[owner_of[name]])
    return sorted(found)


def table(found):
    rows = [("PACKAGE", "SOURCE", "VERSION"),
            *((package.name, package.source, package.source_version) for package in found)]
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() + "\n"
                   for row in rows)


def write_licences(found, root, folder):
    """Of packages of the system, into a folder."""
    for package in found:
        path = os.path.join(root, "usr/share/doc", package.name, "copyright")
        if not os.path.exists(path):
            raise CannotStart(f"package {package.name} says nothing of its licence")
        target = os.path.join(folder, package.name)
        os.makedirs(target)
        shutil.copyfile(path, os.path.join(target, "copyright"))
    common = os.path.join(folder, os.path.basename(COMMON))
    os.makedirs(common)
    for path in glob.glob(os.path.join(glob.escape(root), COMMON, "*")):
        shutil.copyfile(path, os.path.join(common, os.path.basename(path)))
    with open(os.path.join(folder, "README"), "w", encoding="utf-8") as file:
        file.write(PAGE + table(found))
