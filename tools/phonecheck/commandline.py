"""Shows on a PC that the show runs on a phone's processor, where the toolkit knows OpenGL ES only
or no OpenGL later than 2.1. All three sections when none is named:

  tests    the tests with the label gl, built for the phone, in such a context
  frames   frames of all parts, drawn by that build and by the PC's own, and how far they differ
  show     ten seconds of the phone's program on a virtual screen, ended by a key

Debian builds Qt on OpenGL ES for armhf and on desktop OpenGL for arm64. With --gles arm64, too, is
on OpenGL ES: Debian has the lowest layer of Qt so, but no QtOpenGL, which is built from its source.
The packages are unpacked into build/phone, and nothing of them is installed; programs are compiled
by this machine's compiler, whose release may be another, and run in qemu's user mode. Mesa's front
end, which compiles the shaders and judges the calls, runs there, held to that version; its back
end, the drawing, is handed to a server outside the emulator and is a hundred times faster for it.
Pictures and logs: build/phone, a folder for each kind of phone. Exit code 1 where something was
found.
"""

import argparse
import os
import subprocess
import sys
from dataclasses import dataclass
from typing import Callable

from phonecheck import builds, frames, gltests, show, sysroot
from phonecheck.emulator import DRAWS_OUTSIDE, Emulator
from phonecheck.target import ARCHITECTURES, ES, RELEASES, Target
from phonecheck.workplace import StepFailed, Workplace
from surroundings.commandline import add_mirror, add_sections, chosen_sections, exit_code
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart


@dataclass(frozen=True)
class Section:
    name: str
    check: Callable
    takes: str


SECTIONS = {section.name: section for section in (
    Section("tests", gltests.check, "15 minutes, and longer with those of the whole show"),
    Section("frames", frames.check, "2 minutes"),
    Section("show", show.check, "half a minute"),
)}


def times(text):
    """A number of times, as an option is given it."""
    number = int(text)
    if number < 1:
        raise ValueError(text)
    return number


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/phone-check", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    add_sections(parser, SECTIONS)
    parser.add_argument("--architecture", choices=ARCHITECTURES, default="armhf",
                        help="of the phone (armhf)")
    parser.add_argument("--release", choices=RELEASES, default="bookworm",
                        help="of Debian, on the phone (bookworm)")
    parser.add_argument("--gles", action="store_true",
                        help="on OpenGL ES where Debian's Qt is on desktop OpenGL")
    parser.add_argument("--only", metavar="PATTERN", default="",
                        help="of the tests, those whose names match")
    parser.add_argument("--leave-out", metavar="PATTERN", default=os.environ.get("LEAVE_OUT", ""),
                        help="of the tests, leave out those whose names match; those of the whole "
                             "show take most of the time (the variable LEAVE_OUT)")
    parser.add_argument("--patience", metavar="TIMES", type=times, default=gltests.PATIENCE,
                        help="so many times as long as on a PC may the tests take, and wait for "
                             f"what they start ({gltests.PATIENCE}); more where the machine is "
                             "busy besides")
    parser.add_argument("--moments", metavar="SECONDS,…", default=frames.DEFAULT_MOMENTS,
                        type=lambda text: tuple(text.split(",")),
                        help="when in each part a frame is compared "
                             f"({','.join(frames.DEFAULT_MOMENTS)})")
    parser.add_argument("--renderer", metavar="DRIVER",
                        default=os.environ.get("RENDERER", DRAWS_OUTSIDE),
                        help="Mesa's driver on the phone; llvmpipe keeps the drawing in the "
                             f"emulator, at two seconds a frame (the variable RENDERER, or "
                             f"{DRAWS_OUTSIDE})")
    add_mirror(parser)
    options = parser.parse_args(arguments)
    options.target = Target(ARCHITECTURES[options.architecture], RELEASES[options.release],
                            options.gles)
    if options.gles and options.target.architecture.opengl is ES:
        parser.error(f"Debian's Qt for {options.architecture} is on OpenGL ES as it is")
    options.sections = [SECTIONS[name] for name in
                        chosen_sections(parser, options.sections, SECTIONS)]
    return options


def announce(options):
    what = "; ".join(f"{section.name}, {section.takes}" for section in options.sections)
    print(f"Checking as on a phone of {options.target.name}, with {options.target.opengl.name}. It "
          f"takes about, on two cores: {what}; and 10 minutes more the first time, to fetch and to "
          "build.", flush=True)


def run(options):
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "build", "play", "phone"],
                      check=False).returncode != 0:
        raise StepFailed("not all that is needed could be installed")
    with Workplace(options.target) as place:
        emulator = Emulator(place, options.renderer)
        sysroot.provide(place, options.mirror)
        emulator.provide()
        builds.configure_phone(place, emulator)
        emulator.check_context()
        for section in options.sections:
            try:
                section.check(place, options)
            except CannotStart as failure:
                place.failed(f"{section.name}: {failure}")
        return 1 if place.failures else 0


def main():
    options = parse(sys.argv[1:])
    announce(options)
    return exit_code("phone-check", lambda: run(options))
