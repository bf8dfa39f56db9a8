"""One release: its steps, and what came of them."""

import os
import shutil
import time
from dataclasses import dataclass, field

from surroundings.show import ROOT, read_log
from surroundings.surrounding import CannotStart
from tryreleases import readings
from tryreleases.film import Film, make_sheet, read_film
from tryreleases.system import CHECKOUT, USER, System

RESULTS = os.path.join(ROOT, "build/releases")
# In the results of a release, while it is tried.
SYSTEM = "system"

# What takes longer will not end by itself.
MAKE_LIMIT_S = 30 * 60
CHECK_LIMIT_S = 150 * 60
PLAY_LIMIT_S = 60 * 60
ASK_LIMIT_S = 5 * 60

# What is told of a release, and how it is asked.
VERSIONS = {
    "g++": "g++ -dumpfullversion",
    "Qt": "pkg-config --modversion Qt5Core",
    "Mesa": "dpkg-query --show --showformat='${Version}' libgl1-mesa-dri",
}
# What a step leaves in the checkout that tells more than its own words, and what it is kept as.
BUILD_LOG = "release-build.log"
KEPT = {
    "build/apt.log": "apt.log",
    "build/play.log": BUILD_LOG,
    "build/debug/Testing/Temporary/LastTest.log": "tests.log",
    "build/debug/static": "static",
}
FILM = "build/pixmoth.mp4"


@dataclass
class Visit:
    """What somebody met who came to a release."""

    check: readings.Check = None  # None where ./check was not run.
    build_warnings: frozenset = frozenset()  # Lines.
    film: Film = None  # None where ./play was not run, or left none.

    @property
    def warnings(self):
        return self.build_warnings | (self.check.warnings if self.check else frozenset())


@dataclass
class Outcome:
    release: str
    versions: dict = field(default_factory=dict)
    user: Visit = field(default_factory=Visit)
    root: Visit = field(default_factory=Visit)
    complaints: list = field(default_factory=list)


class Trial:
    """`only` is "check" or "play", or empty for both; `keep` leaves the system there."""

    def __init__(self, release, commit, mirror, only="", keep=False):
        self.outcome = Outcome(release)
        self.commit = commit
        self.mirror = mirror
        self.only = only
        self.folder = os.path.join(RESULTS, release)
        self.system = System(self.path(SYSTEM), keep)

    def path(self, name):
        return os.path.join(self.folder, name)

    def say(self, what):
        print(f"{self.outcome.release}: {what}", flush=True)

    def complain(self, what):
        self.outcome.complaints.append(what)
        self.say(what)

    def go(self):
        """Whatever happens there is told in the outcome: it is no reason to try no other."""
        try:
            self.begin()
            with self.system:
                self.take_steps()
        except (CannotStart, OSError) as failure:
            self.complain(f"{failure}; its logs are in {self.folder}")
        return self.outcome

    def begin(self):
        # An old result would be taken for a new one.
        self.system.remove()
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)

    def take_steps(self):
        self.make()
        self.visit(USER, self.outcome.user, "")
        self.ask_versions()
        self.hand_over("root")
        self.visit("root", self.outcome.root, "root-")

    def make(self):
        begin = time.monotonic()
        with open(self.path("system.log"), "w", encoding="utf-8") as log:
            self.system.make(self.outcome.release, self.mirror, log, MAKE_LIMIT_S)
            self.system.check_out(self.commit, log)
        self.hand_over(USER)
        self.say(f"made in {time.monotonic() - begin:.0f} s")

    def hand_over(self, user):
        """The checkout: some of its folders are good only for the user whose they are."""
        with open(self.path("system.log"), "a", encoding="utf-8") as log:
            if self.system.run(["chown", "-R", f"{user}:", CHECKOUT], log, ASK_LIMIT_S) != 0:
                raise CannotStart("the checkout could not be handed over")

    def ask_versions(self):
        for name, question in VERSIONS.items():
            path = self.path("version.log")
            with open(path, "w", encoding="utf-8") as log:
                code = self.system.run(["sh", "-c", question], log, ASK_LIMIT_S)
            if code == 0:
                self.outcome.versions[name] = read_log(path).strip()
            os.remove(path)

    def visit(self, user, visit, prefix):
        """Does what is to be done as a user. What the results are called begins with the prefix."""
        if self.only != "play":
            self.step(user, "./check", prefix + "check.log", CHECK_LIMIT_S)
            visit.check = readings.read_check(read_log(self.path(prefix + "check.log")))
            for name in visit.check.failed:
                self.say(f"failed for {user}: {name}")
            for told in visit.check.not_counted:
                self.say(f"not counted: {told}")
        if self.only != "check":
            self.step(user, "./play", prefix + "play.log", PLAY_LIMIT_S)
            visit.film = self.take_film(prefix)
        self.keep_logs(prefix)
        if os.path.exists(self.path(prefix + BUILD_LOG)):
            visit.build_warnings = readings.warnings(read_log(self.path(prefix + BUILD_LOG)))
        if visit.warnings:
            self.complain(f"warnings for {user}: {len(visit.warnings)}")

    def step(self, user, command, log_name, limit_s):
        begin = time.monotonic()
        with open(self.path(log_name), "w", encoding="utf-8") as log:
            code = self.system.run(["bash", "-c", f"cd {CHECKOUT} && exec {command}"], log,
                                   limit_s, user)
        took = time.monotonic() - begin
        if code == 0:
            self.say(f"{command} went well for {user} in {took:.0f} s")
        else:
            self.complain(f"{command} ended for {user} with code {code} after {took:.0f} s; see "
                          f"{self.path(log_name)}")

    def take_film(self, prefix):
        path = self.path(prefix + "pixmoth.mp4")
        try:
            shutil.move(self.system.path(FILM), path)
        except FileNotFoundError:
            return None
        film = read_film(path)
        if film:
            make_sheet(path, self.path(prefix + "pixmoth.png"))
            if film.complaint:
                self.complain(f"{path}: {film.complaint}")
        return film

    def keep_logs(self, prefix):
        for name, kept in KEPT.items():
            source, path = self.system.path(name), self.path(prefix + kept)
            if os.path.isdir(source):
                shutil.copytree(source, path)
            elif os.path.exists(source):
                shutil.copyfile(source, path)
