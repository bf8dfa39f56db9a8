"""Makes what a demo party gets, step by step."""

import os
import shutil
import sys

from bundling.building import RESULTS as BUNDLES
from bundling.building import archive_name, version
from filming.release import film_show
from makerelease import archive, contents
from makerelease.packages import make_empty, unpack
from surroundings import processes
from surroundings.seclusion import secluded
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart
from tryreleases.film import make_sheet

FRAMES = "build/debug/tests/pixmoth-frames"


class Party:
    """Of a commit, whose time is `epoch`, in seconds. What is released goes into `results`."""

    def __init__(self, commit, epoch, work, results):
        self.commit = commit
        self.epoch = epoch
        self.work = work
        self.results = results
        self.source = os.path.join(work, "source")

    def result(self, name):
        return os.path.join(self.results, name)

    def make(self):
        make_empty(self.source)
        unpack(self.commit, self.source)
        released = version(self.source)
        self.write_pages(released)
        self.draw_pictures()
        self.make_bundle(released)
        self.film(released)
        archive.zip_up(contents.names(released), self.results,
                       self.result(contents.archive(released)), self.epoch)

    def write_pages(self, released):
        for name in (*contents.PAGES, contents.START):
            with open(os.path.join(self.source, "packaging/party", name), encoding="utf-8") as file:
                text = file.read()
            with open(self.result(name), "w", encoding="utf-8") as file:
                file.write(contents.fill(text, released))
        os.chmod(self.result(contents.START), 0o755)
        for name in (contents.LICENCE, "music/" + contents.MUSIC):
            shutil.copyfile(os.path.join(self.source, name), self.result(os.path.basename(name)))

    def draw_pictures(self):
        """By the program of the tests that has chance, clock, battery and names in its hands."""
        frames = os.path.join(self.work, "frames")
        seconds = sorted({seconds for _, seconds in contents.MOMENTS})
        log_path = os.path.join(self.work, "pictures.log")
        with open(log_path, "w", encoding="utf-8") as log:
            for command in (["cmake", "--preset", "debug"],
                            ["cmake", "--build", "--preset", "debug", "--target",
                             os.path.basename(FRAMES)],
                            ["tools/with-xvfb", FRAMES, frames, *seconds]):
                if processes.run(command, cwd=self.source, env=secluded(self.work), stdout=log,
                                 stderr=log) != 0:
                    raise CannotStart(f"the pictures could not be drawn; see {log_path}")
        for picture in contents.PICTURES:
            shutil.copyfile(os.path.join(frames, picture.frame), self.result(picture.name))

    def make_bundle(self, released):
        # It may have to ask who may be root.
        if processes.run([sys.executable, os.path.join(ROOT, "tools/make-bundle"), "--commit",
                          self.commit], asks=True) != 0:
            raise CannotStart("there is no bundle")
        name = contents.bundle(released)
        shutil.copyfile(os.path.join(BUNDLES, name), self.result(name))

    def film(self, released):
        """Of the bundle, as whoever unpacks it will see it."""
        shutil.unpack_archive(self.result(contents.bundle(released)), self.work)
        film = self.result(contents.FILM)
        # It keeps its list of plug-ins there, and not among those of whoever runs this.
        film_show(film, os.path.join(self.work, archive_name(released), "pixmoth"),
                  XDG_CACHE_HOME=self.work)
        sheet = os.path.join(self.work, "film.png")
        make_sheet(film, sheet)
        print(f"The film at a glance: {sheet}", flush=True)
