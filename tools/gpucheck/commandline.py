"""Shows on a PC what the GPUs of phones make of the show's shaders. Both when none is named:

  compile  every program of the show, its own and those of its painter, is compiled by the drivers of
           Mali-400, Mali-T860, Mali-G52, GC7000L, Adreno 630 and VideoCore VI; a shader that one
           of them refuses, gives up or cannot hold in its registers is a failure
  cost     the fragments of every frame are counted on this machine's own driver, at 800 × 480, and
           taken times what the drivers say that one costs: the share of a tick, for five phones; on
           another screen the painter's targets stay what they are, and the rest grows with its area

No such GPU is there: Mesa is built from Debian's source package, into build/gpu, with libraries that
stand in for the kernel. Tables as in docs/performance.md are printed. Exit code 1 where something was
found.
"""

import argparse
import os
import re
import subprocess
import sys

from gpucheck import compiling, fragments, mesa, programs, shares
from gpucheck.gpus import GPUS, PHONES
from surroundings.commandline import add_mirror, add_sections, chosen_sections, exit_code
from surroundings.show import ROOT, TICK_S
from surroundings.workplace import StepFailed, Workplace

SECTIONS = {"compile": "2 minutes", "cost": "2 minutes"}
DEFAULT_SIZES = ("800x480", "720x1440", "1080x2160")
# Where the painter's programs are caught and fragments are counted.
COUNTED_AT = DEFAULT_SIZES[0]


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog="tools/gpu-check", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    add_sections(parser, SECTIONS)
    parser.add_argument("--size", action="append", dest="sizes", metavar="WIDTHxHEIGHT",
                        help=f"of the screen, once for each ({', '.join(DEFAULT_SIZES)})")
    add_mirror(parser)
    options = parser.parse_args(arguments)
    options.sections = chosen_sections(parser, options.sections, SECTIONS)
    options.sizes = options.sizes or list(DEFAULT_SIZES)
    for size in options.sizes:
        if not re.fullmatch(r"[1-9]\d*x[1-9]\d*", size):
            parser.error(f"'{size}' is no size")
    return options


def announce(options):
    what = "; ".join(f"{name}, {SECTIONS[name]}" for name in options.sections)
    print(f"Checking the shaders with the drivers of {', '.join(GPUS)}. It takes about, on two "
          f"cores: {what}; and 15 minutes more the first time, to build the drivers.", flush=True)


class Check:
    """The results of one section are what the next one needs."""

    def __init__(self, place, options):
        self.place = place
        self.options = options
        self.recording = fragments.Recording(place, COUNTED_AT)
        self.caught = {}  # The programs that the show has linked, by their numbers.
        self.results = {}  # By GPU and program.

    def compile(self):
        drivers = mesa.Mesa(self.place)
        drivers.provide(self.options.mirror)
        compiler = compiling.Compiler(self.place, drivers)
        compiler.provide()
        fragments.build(self.place)
        self.recording.make()
        self.caught = programs.caught_programs(self.recording.caught)
        every = programs.all_programs(self.caught)
        self.results = {gpu.name: {program.name: compiler.compile(gpu, program)
                                   for program in every} for gpu in GPUS.values()}

    def judge(self):
        for gpu in GPUS.values():
            wrong = [f"{name}: {problem}" for name, result in self.results[gpu.name].items()
                     for problem in compiling.problems(gpu, result)]
            for problem in wrong:
                self.place.failed(f"{gpu.name}, {problem}")
            if not wrong:
                self.place.passed(f"{gpu.name}: {len(self.results[gpu.name])} programs compile, "
                                  "link and fit")

    def print_units(self):
        names = list(next(iter(self.results.values())))
        for stage in compiling.STAGES:
            print(f"\nA {stage} costs, in the units of each GPU:\n")
            print(shares.table(
                ["program", *(f"{gpu.name}, {gpu.unit}" for gpu in GPUS.values())],
                [[name, *(cell(self.units(gpu, name, stage)) for gpu in GPUS.values())]
                 for name in names]))

    def units(self, gpu, name, stage="fragment"):
        """None where the driver has not told it."""
        return compiling.units(gpu, self.results[gpu.name][name], stage)

    def count(self):
        print()
        print(shares.table(["phone", "GPU", "MHz", "from", "units a clock", "since it has"],
                           [[phone.name, phone.gpu, str(phone.clock_mhz), phone.clock_from,
                             str(phone.units_a_clock), phone.units_from] for phone in PHONES]))
        frames = self.recording.frames()
        own = {number for number, program in self.caught.items() if programs.is_own(program)}
        of_sizes = [shares.by_part(shares.resized(frames, own, COUNTED_AT, size))
                    for size in self.options.sizes]
        columns = [lambda counted: f"{sum(counted.values()) / 1e6:.2f}", *map(self.percent, PHONES)]
        rows = [(part, [" / ".join(max((column(frame.fragments) for frame in of_parts[part]),
                                       key=float) for of_parts in of_sizes)
                        for column in columns])
                for part in of_sizes[0]]
        print(f"\nPercent of a tick, in each part's dearest frame, at "
              f"{' / '.join(size.replace('x', ' × ') for size in self.options.sizes)}:\n")
        print(shares.table(["part", "million fragments", *(phone.name for phone in PHONES)],
                           shares.merged(rows)), flush=True)

    def percent(self, phone):
        """A function: the share of a tick that a frame's fragments take."""
        units = {number: self.units(GPUS[phone.gpu], program.name) or 0
                 for number, program in self.caught.items()}
        return lambda counted: f"{100 * shares.share(phone, counted, units, TICK_S):.1f}"


def cell(units):
    return "–" if units is None else f"{units:g}"


def run(options):
    if subprocess.run([os.path.join(ROOT, "tools/install-packages"), "build", "play", "check",
                       "bench", "gpu"], check=False).returncode != 0:
        raise StepFailed("not all that is needed could be installed")
    with Workplace(os.path.join(ROOT, "build/gpu")) as place:
        check = Check(place, options)
        check.compile()
        # Without a word of the driver there is no cost, either.
        check.judge()
        if "compile" in options.sections:
            check.print_units()
        if "cost" in options.sections:
            check.count()
        return 1 if place.failures else 0


def main():
    options = parse(sys.argv[1:])
    announce(options)
    return exit_code("gpu-check", lambda: run(options))
