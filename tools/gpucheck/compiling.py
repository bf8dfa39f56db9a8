"""Has a GPU's driver compile programs, and reads what it tells of them."""

import os
import re
import subprocess
from dataclasses import dataclass, field

from surroundings.show import ROOT
from surroundings.workplace import StepFailed

SOURCE = os.path.join(ROOT, "tools/gpucheck/compileprogram.cpp")
LIMIT_S = 120
# Of each stage, how the drivers call what they make of it. Some make two programs of a vertex
# shader, of which both run; and one that only finds out where a thing is, which is not counted.
STAGES = {"vertex": ("VERTEX", "VERT", "POSITION", "VARYING"), "fragment": ("FRAGMENT", "FRAG")}


@dataclass
class Result:
    """What a driver told of a program."""

    told: dict = field(default_factory=dict)  # By the driver's name of a stage, then of a figure.
    failures: list = field(default_factory=list)


def parse_message(message):
    """The driver's name of a stage, and its figures; None where the message is of something
    else."""
    told = re.match(r"(?:MESA_SHADER_)?([A-Z]+) shader: (.*)", message)
    if not told or not any(told.group(1) in names for names in STAGES.values()):
        return None
    figures = {name: float(number)
               for number, name in re.findall(r"([\d.]+) ([\w()-]+)", told.group(2))}
    spilled = re.search(r"(\d+):(\d+) spills:fills", told.group(2))
    if spilled:
        figures.update(spills=float(spilled.group(1)), fills=float(spilled.group(2)))
    return told.group(1), figures


def parse(lines):
    """The driver's name of itself, and what it told of the program."""
    driver = ""
    result = Result()
    for line in lines:
        what, _, text = line.rstrip("\n").partition("\t")
        if what == "driver":
            driver = text
        elif what == "failure":
            result.failures.append(text)
        elif what == "message":
            told = parse_message(text)
            if told:
                keep_largest(result.told.setdefault(told[0], {}), told[1])
    return driver, result


def keep_largest(kept, figures):
    """A driver may compile a stage more than once."""
    for name, value in figures.items():
        kept[name] = max(value, kept.get(name, 0.0))


def figure(result, stage, name):
    """The sum of a figure over what the driver has made of a stage; None where it tells none."""
    told = [result.told[word][name] for word in STAGES[stage]
            if name in result.told.get(word, {})]
    return sum(told) if told else None


def units(gpu, result, stage):
    """What a vertex or a fragment costs; None where the driver has not told it."""
    count = figure(result, stage, gpu.figure)
    return None if count is None else count / gpu.counted_times


def problems(gpu, result):
    """What a program cannot be used for on a GPU. A driver that gives a shader up may only be
    silent about it."""
    found = list(result.failures)
    for stage in STAGES:
        if not units(gpu, result, stage):
            found.append(f"the driver tells nothing of its {stage} shader")
        if figure(result, stage, "spills"):
            found.append(f"its {stage} shader has more values at a time than there are registers")
    return found


class Compiler:
    def __init__(self, place, mesa):
        self.place = place
        self.mesa = mesa
        self.program = place.path("compileprogram")

    def provide(self):
        self.place.step("compileprogram.log",
                        ["g++", "-std=c++17", "-O1", "-Wall", "-Wextra", SOURCE, "-o", self.program,
                         "-lEGL", "-lGLESv2"])

    def compile(self, gpu, program):
        """What the driver tells. A process each: some tell of a shader only the first time."""
        files = []
        for stage, text in (("vertex", program.vertex), ("fragment", program.fragment)):
            files.append(self.place.path(f"{stage}.glsl"))
            with open(files[-1], "w", encoding="utf-8") as file:
                file.write(text)
        log = self.place.path(f"{gpu.name}-{program.name.replace(':', '')}.log")
        with open(log, "w", encoding="utf-8") as errors:
            try:
                told = subprocess.run(
                    [self.program, *files], stdout=subprocess.PIPE, stderr=errors, text=True,
                    check=False, timeout=LIMIT_S,
                    env=self.place.environment(**self.mesa.environment(gpu)))
            except subprocess.TimeoutExpired as expired:
                raise StepFailed(f"{gpu.name} took more than {LIMIT_S} s for {program.name}; "
                                 f"see {log}") from expired
            errors.write(told.stdout)
        driver, result = parse(told.stdout.splitlines())
        if gpu.renderer not in driver:
            raise StepFailed(f"{gpu.name}: the driver calls itself '{driver}'; see {log}")
        if told.returncode != 0:
            result.failures.append(f"the driver ended with code {told.returncode}; see {log}")
        return result
