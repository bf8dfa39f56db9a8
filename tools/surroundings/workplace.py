"""Where a check's results lie, what it has started, and what it has found."""

import os
import shutil
import subprocess
import sys
import tempfile

from surroundings import processes
from surroundings.seclusion import secluded
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart

# The end of a log that is shown where a step fails.
SHOWN_LINES = 30


class StepFailed(CannotStart):
    """A step without which the rest cannot be: no verdict on the show."""


class Workplace:
    """A folder. A with statement ends all that was started, and takes the temporary folder away."""

    def __init__(self, folder):
        self.folder = folder
        os.makedirs(self.folder, exist_ok=True)
        self.failures = 0
        self.children = []

    def __enter__(self):
        self.runtime = tempfile.mkdtemp(prefix="pixmoth-check-")
        return self

    def __exit__(self, *_):
        for child in self.children:
            child.terminate()
        for child in self.children:
            self.end_within(child, 5)
        shutil.rmtree(self.runtime, ignore_errors=True)

    def path(self, *names):
        """A file among the results."""
        return os.path.join(self.folder, *names)

    def environment(self, **changes):
        return secluded(self.runtime, **changes)

    def passed(self, what):
        print("PASS ", what, flush=True)

    def failed(self, what):
        print("FAIL ", what, flush=True)
        self.failures += 1

    def step(self, log_name, command, append=False, **changes):
        """Runs a command that tells nothing unless it fails."""
        log_path = self.path(log_name)
        with open(log_path, "a" if append else "w", encoding="utf-8") as log:
            code = processes.run(command, stdout=log, stderr=log, cwd=ROOT,
                                 env=self.environment(**changes))
        if code != 0:
            with open(log_path, encoding="utf-8", errors="replace") as log:
                sys.stderr.writelines(log.readlines()[-SHOWN_LINES:])
            raise StepFailed(f"'{' '.join(command[:2])} …' ended with code {code}; "
                             f"all of it is in {log_path}")

    def start(self, log_path, command, **changes):
        """Starts what goes on beside the check, and does not outlive it."""
        with open(log_path, "w", encoding="utf-8") as log:
            child = subprocess.Popen(command, stdout=log, stderr=log,
                                     env=self.environment(**changes))
        self.children.append(child)
        return child

    @staticmethod
    def end_within(child, seconds):
        """Its exit code when it ends within so many seconds. None where it had to be killed."""
        try:
            return child.wait(seconds)
        except subprocess.TimeoutExpired:
            child.kill()
            child.wait()
            return None
