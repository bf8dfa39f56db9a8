"""Runs processes, and looks at how they end."""

import contextlib
import os
import signal
import subprocess

from surroundings.waiting import wait_until

# Who is asked to end may have a whole system to remove.
ENDS_WITHIN_S = 60
REST_ENDS_WITHIN_S = 5


def run(command, asks=False, **how):
    """Its exit code. Where something ends this in the meantime, it ends, too: first it is asked to,
    so that it can clean up, and then goes what it has started and left. It reads nothing, and has a
    session of its own, unless it `asks` whoever sits at the terminal; then it has to end by itself
    what it has started."""
    if not asks:
        how = {"stdin": subprocess.DEVNULL, "start_new_session": True, **how}
    with subprocess.Popen(command, **how) as process:
        try:
            return process.wait()
        except BaseException:
            process.terminate()
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(ENDS_WITHIN_S)
            process.kill()
            if not asks:
                end_session(process.pid)
            raise


def end_session(session):
    """All that lives in it. Programs that have others work for them, as build tools do, end those
    when they are asked to."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        for pid in living_members(session):
            with contextlib.suppress(OSError):
                os.kill(pid, number)
        if wait_until(lambda: not living_members(session), REST_ENDS_WITHIN_S):
            return


def living_members(session):
    """The processes of a session that live."""
    alive = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as stat:
                # The name before the bracket may hold anything.
                fields = stat.read().rpartition(")")[2].split()
        except OSError:
            continue  # It has just ended.
        state, of_session = fields[0], int(fields[3])
        if of_session == session and state != "Z":
            alive.append(int(pid))
    return alive
