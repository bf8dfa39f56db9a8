"""The tests with the label gl, run as the phone's programs."""

import json
import os
import re
import subprocess
from dataclasses import dataclass

from phonecheck import builds
from phonecheck.target import ES, OpenGl
from phonecheck.workplace import StepFailed
from surroundings import processes
from surroundings.show import ROOT

# How many times as long as on a PC a test may take in the emulator, and may itself wait for what it
# has started (tests/support/patience.h). More is for a machine that is busy besides.
PATIENCE = 5
# Qt Test's own limit for one function; CTest's counts.
FUNCTION_LIMIT_MS = 3600 * 1000
# Runs a command with an empty /dev/shm: JACK's library for another architecture cannot read the
# database that this machine's own has left there, and says so in what the tests read.
SHARING_NO_MEMORY = ("bwrap", "--die-with-parent", "--dev-bind", "/", "/", "--tmpfs", "/dev/shm")


@dataclass(frozen=True)
class LeftOut:
    """A test function that is not run on the phone."""

    program: str
    function: str
    reason: str
    opengl: OpenGl | None = None  # Where it is left out; everywhere when there is none.


LEFT_OUT = (
    LeftOut("programgltest", "deathOfTheScreenIsNoCrash",
            "Mesa's client of the drawing server dies of it first"),
    LeftOut("programgltest", "playsOnWithoutPictures",
            "it plays a copy of the program, and here that is a copy of its launcher alone"),
    LeftOut("texture2dgltest", "fourComponentsAreATexture",
            "ES has no internal format 4; nothing in the show asks", ES),
)


@dataclass
class Test:
    """One of CTest's: a program of Qt tests behind what lends it a screen, and which of its
    functions are run; all of them when none is named."""

    name: str
    command: list
    functions: list
    environment: list
    limit_s: float
    folder: str

    @property
    def program(self):
        return os.path.basename(self.command[-1])


def read_tests(listing, build):
    """What "ctest --show-only=json-v1" tells. A test's program is the one that lies in the build;
    the words after it are the functions."""
    tests = []
    for told in listing["tests"]:
        properties = {each["name"]: each["value"] for each in told["properties"]}
        words = told["command"]
        program = next(i for i, word in enumerate(words) if word.startswith(build + "/"))
        tests.append(Test(told["name"], words[:program + 1], words[program + 1:],
                          properties.get("ENVIRONMENT", []), properties["TIMEOUT"],
                          properties["WORKING_DIRECTORY"]))
    return tests


def choose(tests, only, leave_out):
    """The tests whose names match `only` and not `leave_out`; an empty pattern chooses nothing
    and leaves nothing out."""
    return [test for test in tests
            if (not only or re.search(only, test.name)) and
            not (leave_out and re.search(leave_out, test.name))]


def left_out_on(opengl):
    return [entry for entry in LEFT_OUT if entry.opengl in (None, opengl)]


def without(tests, left_out, functions_of):
    """The tests without the functions that are left out. `functions_of` tells all functions of a
    test's program; it is asked only where one of that program is left out."""
    remaining = []
    for test in tests:
        banned = {entry.function for entry in left_out if entry.program == test.program}
        if banned:
            known = functions_of(test)
            unknown = banned - set(known)
            if unknown:
                raise StepFailed(f"{test.program} has no function {' '.join(sorted(unknown))} "
                                 "to be left out")
            functions = [name for name in test.functions or known if name not in banned]
            if not functions:
                continue
            test = Test(test.name, test.command, functions, test.environment, test.limit_s,
                        test.folder)
        remaining.append(test)
    return remaining


def quoted(text):
    """For CMake, whatever is in it."""
    return f"[==[{text}]==]"


def ctest_file(tests, patience):
    """The tests as CTest reads them, with so many times their limits."""
    lines = []
    for test in tests:
        words = " ".join(quoted(word) for word in (test.name, *test.command, *test.functions))
        lines.append(f"add_test({words})")
        lines.append(f"set_tests_properties({quoted(test.name)} PROPERTIES "
                     f"ENVIRONMENT {quoted(';'.join(test.environment))} "
                     f"TIMEOUT {test.limit_s * patience:g} "
                     f"WORKING_DIRECTORY {quoted(test.folder)})")
    return "\n".join(lines) + "\n"


def functions_of(place, test):
    """All functions of a program, as it tells them itself: "name()", one a line."""
    told = subprocess.run([test.command[-1], "-functions"], capture_output=True, text=True,
                          env=place.environment(QT_QPA_PLATFORM="offscreen"), check=True).stdout
    return [line[:-len("()")] for line in told.split() if line.endswith("()")]


def secluding_prefix():
    """What the tests are run by; nothing where this machine does not allow it, in a container
    say."""
    if subprocess.run([*SHARING_NO_MEMORY, "true"], stderr=subprocess.DEVNULL,
                      check=False).returncode == 0:
        return SHARING_NO_MEMORY
    print("The tests see this machine's /dev/shm: no other can be mounted here")
    return ()


def check(place, options):
    listing = json.loads(subprocess.run(
        ["ctest", "--test-dir", place.build, "-L", "^gl$", "--show-only=json-v1"],
        capture_output=True, text=True, check=True).stdout)
    tests = choose(read_tests(listing, place.build), options.only, options.leave_out)
    if not tests:
        raise StepFailed("no test has such a name")
    builds.build_phone(place, *sorted({test.program for test in tests}))
    left_out = left_out_on(place.target.opengl)
    for entry in left_out:
        if any(test.program == entry.program for test in tests):
            print(f"Left out: {entry.program}::{entry.function} ({entry.reason})")
    for pattern, what in ((options.only, "does not match"), (options.leave_out, "matches")):
        if pattern:
            print(f"Left out: all that {what} '{pattern}' (as was asked)")
    tests = without(tests, left_out, lambda test: functions_of(place, test))

    folder = place.path("ctest")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "CTestTestfile.cmake"), "w", encoding="utf-8") as file:
        file.write(ctest_file(tests, options.patience))
    print(f"{len(tests)} tests", flush=True)
    passed = processes.run(
        [*secluding_prefix(), "ctest", "--test-dir", folder, "--output-on-failure"],
        env=place.environment(QTEST_FUNCTION_TIMEOUT=str(FUNCTION_LIMIT_MS),
                              PIXMOTH_TEST_PATIENCE=str(options.patience))) == 0
    summary = subprocess.run(
        [os.path.join(ROOT, "tools/summarise-tests"),
         os.path.join(folder, "Testing/Temporary/LastTest.log")],
        capture_output=True, text=True, check=False)
    told = summary.stdout.strip().rpartition("\n")[2]
    if passed and summary.returncode == 0:
        place.passed(f"tests with the label gl: {told}")
    else:
        place.failed(f"tests with the label gl: {told}")
