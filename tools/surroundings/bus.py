"""A session bus."""

import os
import signal
import subprocess

from surroundings.surrounding import CannotStart, Surrounding, end_process

SCREEN_SAVER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "screensaver.py")
# Debian's own interpreter: its D-Bus bindings are packages.
PYTHON = "/usr/bin/python3"


class Bus(Surrounding):
    """A session bus with a screen saver on it (screensaver.py)."""

    def __init__(self):
        self.daemon = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.daemon.stdout.readline().strip()
        self.environment = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=self.address)
        self.saver = subprocess.Popen([PYTHON, SCREEN_SAVER], env=self.environment,
                                      stdout=subprocess.PIPE, text=True)
        if self.saver.stdout.readline().strip() != "ready":
            self.end()
            raise CannotStart("no screen saver could be started (python3-dbus, python3-gi?)")

    def holders(self):
        """How many hold the screen saver off; -1 where it does not answer."""
        answer = subprocess.run(
            ["dbus-send", "--session", "--print-reply=literal",
             "--dest=org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
             "org.pixmoth.Test.Holders"], env=self.environment, capture_output=True, text=True,
            check=False).stdout.split()
        return int(answer[-1]) if answer else -1

    def freeze_saver(self):
        """The screen saver takes calls from now on, and does not answer them."""
        self.saver.send_signal(signal.SIGSTOP)

    def end(self):
        end_process(self.saver)
        end_process(self.daemon)
        self.saver.stdout.close()
        self.daemon.stdout.close()
