"""Reads what ./check and ./play have said."""

import re
from dataclasses import dataclass, field

# The first line of CTest, with which the build is over.
TESTS_BEGIN = "Test project "
WARNING = re.compile(r"(^|[\s:])warning: |^CMake ([A-Z][a-z]+ )?Warning", re.IGNORECASE)
COUNTS = re.compile(r"^(\d+) passed, (\d+) failed(?:, (\d+) skipped)?$", re.MULTILINE)
FAILED_QT = re.compile(r"^(?:FAIL!|XPASS) +: (\S+\)?.*)$", re.MULTILINE)
FAILED_PYTHON = re.compile(r"^(test_\w+ \(.*\)) \.\.\. (?:FAIL|ERROR)$", re.MULTILINE)
STATIC_CHECKS = "Static checks: "
NOT_COUNTED = "NOT COUNTED: "


@dataclass(frozen=True)
class Counts:
    """Of test functions."""

    passed: int
    failed: int
    skipped: int = 0

    def __str__(self):
        skipped = f" ({self.skipped} skipped)" if self.skipped else ""
        return f"{self.passed}/{self.passed + self.failed}{skipped}"


@dataclass(frozen=True)
class Check:
    """What ./check has said."""

    warnings: frozenset = field(default_factory=frozenset)  # Lines.
    counts: Counts = None  # None where it has not come so far, or found no test.
    failed: tuple = ()  # The names of test functions.
    static_checks: str = ""  # Their last line; empty where they have failed, or were not made.
    not_counted: tuple = ()  # What static checks told and did not count.


def warnings(build_log):
    """The different lines: a header's warning comes with every file that includes it."""
    return frozenset(line for line in build_log.splitlines() if WARNING.search(line))


def read_check(log):
    build = log[:log.find(TESTS_BEGIN)] if TESTS_BEGIN in log else log
    lines = log.splitlines()
    counts = [Counts(*(int(number or 0) for number in match))
              for match in COUNTS.findall(log)]
    concluded = [line[len(STATIC_CHECKS):] for line in lines if line.startswith(STATIC_CHECKS)]
    return Check(
        warnings(build), counts[-1] if counts else None,
        tuple(dict.fromkeys(FAILED_QT.findall(log) + FAILED_PYTHON.findall(log))),
        concluded[-1] if concluded else "",
        tuple(line[len(NOT_COUNTED):] for line in lines if line.startswith(NOT_COUNTED)))
