"""Waits for what others do."""

import time


def wait_until(condition, limit_s, pause_s=0.05):
    """Whether it has become true within so many seconds."""
    deadline = time.monotonic() + limit_s
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(pause_s)
    return True
