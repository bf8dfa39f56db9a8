"""Looks at processes, and at how they end."""

import os


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
