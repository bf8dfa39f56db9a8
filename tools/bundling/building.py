"""Makes the archive, in a small Debian of the release that its contents are taken from. So it is the
same wherever it is made, but for what that release itself has changed."""

import os
import re
import shlex
import shutil
import time

from bundling.checking import complaints
from bundling.contents import RELEASE
from bundling.gathering import elf_files, gather, search_path
from bundling.licences import packages_of, write_licences
from bundling.readme import readme
from surroundings.show import MUSIC, ROOT, read_log
from surroundings.surrounding import CannotStart
from tryreleases.system import CHECKOUT, System

RESULTS = os.path.join(ROOT, "build/bundle")
MAKE_LIMIT_S = 30 * 60
BUILD_LIMIT_S = 60 * 60
SHOWN_LINES = 30

BUILD = f"""
set -eu
cd {CHECKOUT}
tools/install-packages build play wayland bundled
cmake --preset release
cmake --build --preset release
strip build/release/src/pixmoth
"""
# In an order, and with owners and times, that are the same everywhere.
PACK = """
set -eu
cd "$1"
tar --create --format=gnu --sort=name --owner=0 --group=0 --numeric-owner --mode=u+rw,go=rX \
    --mtime="@$3" "$2" | xz -9 --threads=1 >"$2.tar.xz"
"""


def version(source=ROOT):
    """The show's, which its build says."""
    with open(os.path.join(source, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"project\(pixmoth VERSION (\S+)", file.read())[1]


def archive_name(released=None):
    """Of a version, this one's where none is named. Without its extension, which is that of the
    folder in it, too."""
    return f"pixmoth-{released or version()}-x86_64"


class Building:
    """`commit` is what is built, and `epoch` the time, in seconds, that its files get."""

    def __init__(self, commit, epoch, mirror, keep=False):
        self.commit = commit
        self.epoch = epoch
        self.mirror = mirror
        self.system = System(os.path.join(RESULTS, "system"), keep)
        self.log_path = os.path.join(RESULTS, "building.log")
        self.name = archive_name()

    @property
    def folder(self):
        """What is packed."""
        return self.system.path("build/bundle/" + self.name)

    def go(self):
        """Returns the archive's path. Raises CannotStart."""
        begin = time.monotonic()
        with open(self.log_path, "w", encoding="utf-8") as log, self.system:
            self.system.make(RELEASE, self.mirror, log, MAKE_LIMIT_S)
            self.system.check_out(self.commit, log)
            self.run(["sh", "-c", BUILD], log)
            self.fill(log)
            self.examine()
            path = self.pack(log)
        print(f"Made in {time.monotonic() - begin:.0f} s: {path}, "
              f"{os.path.getsize(path) / 1e6:.1f} MB", flush=True)
        return path

    def run(self, command, log):
        if self.system.run(command, log, BUILD_LIMIT_S) != 0:
            log.flush()
            raise CannotStart("\n".join([*read_log(self.log_path).splitlines()[-SHOWN_LINES:],
                                         f"all of it is in {self.log_path}"]))

    def fill(self, log):
        os.makedirs(self.folder)
        taken = gather(
            self.system.folder, self.system.path("build/release/src/pixmoth"),
            self.system.path(os.path.relpath(MUSIC, ROOT)),
            self.system.path("tools/bundling/pixmoth.sh"), self.system.path("LICENSE"), self.folder)
        write_licences(packages_of(taken.values(), self.system.folder), self.system.folder,
                       os.path.join(self.folder, "licences"))
        with open(os.path.join(self.folder, "README"), "w", encoding="utf-8") as file:
            file.write(readme(version()))
        self.run(["sh", "-c", "set -eu\n" + self.redirect()], log)

    def redirect(self):
        """Commands that make each file look for libraries where they are now."""
        return "".join(
            shlex.join(["patchelf", "--set-rpath", search_path(path, self.folder),
                        "/" + os.path.relpath(path, self.system.folder)]) + "\n"
            for path in elf_files(self.folder))

    def examine(self):
        found = complaints(self.folder)
        if found:
            raise CannotStart("\n".join(found))

    def pack(self, log):
        where = "/" + os.path.relpath(os.path.dirname(self.folder), self.system.folder)
        self.run(["sh", "-c", PACK, "pack", where, self.name, str(self.epoch)], log)
        return shutil.copyfile(self.folder + ".tar.xz",
                               os.path.join(RESULTS, self.name + ".tar.xz"))
