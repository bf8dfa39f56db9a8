"""Looks at pictures, with ImageMagick."""

import glob
import os
import subprocess
import time


def asked(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def is_painted(picture):
    """Is there more than one colour in it?"""
    return int(asked("identify", "-format", "%k", picture)) > 1


def brightness(picture):
    """The mean of it, out of one."""
    return float(asked("identify", "-format", "%[fx:mean]", picture))


def difference(one, other):
    """The mean difference of a channel, out of one."""
    return float(asked("convert", one, other, "-metric", "MAE", "-compare",
                       "-format", "%[distortion]", "info:"))


class Photographs:
    """One picture a second of ten: FOLDER/NAME-01.png to NAME-10.png, and all on NAME.png."""

    SECONDS = 10

    def __init__(self, folder, name):
        self.path = os.path.join(folder, name)
        self.sheet = self.path + ".png"

    def of_second(self, second):
        return f"{self.path}-{second:02}.png"

    def take(self, photograph):
        """`photograph` writes what is seen now to the file that it is given."""
        for old in glob.glob(self.path + "-*.png"):
            os.remove(old)
        for second in range(1, self.SECONDS + 1):
            time.sleep(1)
            photograph(self.of_second(second))
        taken = sorted(glob.glob(self.path + "-*.png"))
        if taken:
            subprocess.run(["montage", *taken, "-tile", "5x", "-geometry", "400x240+2+2",
                            "-background", "#333", self.sheet], check=True)

    def painted(self):
        """Whether something was seen, in the middle and at the end."""
        return all(os.path.exists(picture) and is_painted(picture)
                   for picture in (self.of_second(5), self.of_second(10)))

    def moved(self):
        """Whether something else was seen at the end than in the middle."""
        with open(self.of_second(5), "rb") as middle, open(self.of_second(10), "rb") as end:
            return middle.read() != end.read()
