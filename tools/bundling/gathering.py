"""Collects the files out of a system, and lays them into a folder."""

import glob
import os
import shutil
from dataclasses import dataclass, field

from bundling import elf
from bundling.contents import LEFT_NAMES, LIBRARIES, PIECES, TEXTS
from surroundings.surrounding import CannotStart


@dataclass
class Gathering:
    """From the system whose root is `root` into `folder`. `taken` says what became of files of the
    system: {where it is in the folder: where it was in the system}, both relative."""

    root: str
    folder: str
    taken: dict = field(default_factory=dict)

    def take(self, source, destination):
        """A file, a folder, or the files of a pattern, into the folder `destination`."""
        found = sorted(glob.glob(os.path.join(glob.escape(self.root), source)))
        if not found:
            raise CannotStart(f"the system has no {source}")
        for path in found:
            self.take_one(path, os.path.join(destination, os.path.basename(path)))

    def take_one(self, path, name):
        if os.path.isdir(path):
            for entry in sorted(os.listdir(path)):
                self.take_one(os.path.join(path, entry), os.path.join(name, entry))
            return
        self.copy(path, name)
        self.taken[name] = os.path.relpath(os.path.realpath(path), os.path.realpath(self.root))

    def copy(self, path, name):
        target = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(path, target)
        os.chmod(target, 0o755 if os.access(path, os.X_OK) else 0o644)

    def write_texts(self):
        for name, text in TEXTS.items():
            path = os.path.join(self.folder, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)

    def take_libraries(self):
        """All that what is there needs, and what those need, but for what is left to the system."""
        known, new = set(), elf_files(self.folder)
        while new:
            known |= set(new)
            for reader in elf.read(new).values():
                for name in reader.needed:
                    self.take_library(name, reader)
            new = [path for path in elf_files(self.folder) if path not in known]

    def take_library(self, name, reader):
        left = LEFT_NAMES.get(name)
        if left and not left.spare:
            return
        folder = os.path.join("spare", name) if left else "lib"
        if os.path.exists(os.path.join(self.folder, folder, name)):
            return
        # Under the name that it is asked for: no other name of it is wanted.
        for where in (*reader.search, "/" + LIBRARIES):
            path = os.path.join(self.root, where.lstrip("/"), name)
            if os.path.exists(path):
                self.take_one(path, os.path.join(folder, name))
                return
        raise CannotStart(f"{os.path.basename(reader.path)} needs {name}, and the system has none")


def elf_files(folder):
    return sorted(os.path.join(where, name) for where, _, names in os.walk(folder)
                  for name in names if elf.is_elf(os.path.join(where, name)))


def search_path(path, folder):
    """Where an ELF file of the folder is to look for libraries: in the folder's own."""
    return os.path.join("$ORIGIN", os.path.relpath(os.path.join(folder, "lib"),
                                                   os.path.dirname(path))).removesuffix("/.")


def gather(root, program, music, launcher, licence, folder):
    """Returns what was taken of the system."""
    gathering = Gathering(root, folder)
    for path, name in ((program, "bin/pixmoth"), (music, "bin/" + os.path.basename(music)),
                       (launcher, "pixmoth"), (licence, "LICENSE")):
        gathering.copy(path, name)
    os.chmod(os.path.join(folder, "pixmoth"), 0o755)
    for piece in PIECES:
        gathering.take(piece.source, piece.folder)
    gathering.write_texts()
    gathering.take_libraries()
    return gathering.taken
