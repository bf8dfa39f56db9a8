"""A sound server."""

import os
import shutil
import signal
import subprocess
import tempfile

from surroundings.surrounding import CannotStart, Surrounding, end_process
from surroundings.waiting import wait_until

STARTS_WITHIN_S = 10


class SoundServer(Surrounding):
    """A PulseAudio of its own, which plays to nobody and can be frozen."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="pixmoth-sound-")
        self.path = os.path.join(self.folder, "native")
        self.address = "unix:" + self.path
        self.server = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
             "-L", "module-null-sink sink_name=null",
             "-L", f"module-native-protocol-unix socket={self.path} auth-anonymous=1"],
            env=dict(os.environ, HOME=self.folder, XDG_RUNTIME_DIR=self.folder),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: os.path.exists(self.path) or self.server.poll() is not None,
                   STARTS_WITHIN_S)
        if not os.path.exists(self.path):
            self.end()
            raise CannotStart("pulseaudio could not be started")

    @staticmethod
    def is_installed():
        return shutil.which("pulseaudio") is not None

    def freeze(self):
        self.server.send_signal(signal.SIGSTOP)

    def thaw(self):
        self.server.send_signal(signal.SIGCONT)

    def end(self):
        end_process(self.server)
        shutil.rmtree(self.folder, ignore_errors=True)
