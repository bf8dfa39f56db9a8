"""Where the results for a phone lie."""

import os

from surroundings import workplace
from surroundings.show import ROOT
from surroundings.workplace import StepFailed

__all__ = ("StepFailed", "Workplace")


class Workplace(workplace.Workplace):
    """The folder of a target, with its libraries and programs."""

    def __init__(self, target):
        self.target = target
        self.phone = os.path.join(ROOT, "build/phone")
        super().__init__(os.path.join(self.phone, target.name))
        self.sysroot = os.path.join(self.folder, "sysroot")
        self.build = os.path.join(self.folder, "build")
        self.desktop_build = os.path.join(ROOT, "build/debug")

    @property
    def libraries(self):
        """The folder of the phone's libraries."""
        return os.path.join(self.sysroot, "usr/lib", self.target.architecture.triplet)
