"""What a program is started in: screens, buses, sound servers, and servers that never answer."""

import os
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

# A screen saver that tells on a pipe who holds it off.
SAVER = """
import dbus, dbus.service, dbus.mainloop.glib, sys
from gi.repository import GLib
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
holders = {}
class Saver(dbus.service.Object):
    @dbus.service.method('org.freedesktop.ScreenSaver', 'ss', 'u', sender_keyword='sender')
    def Inhibit(self, name, reason, sender=None):
        holders[sender] = name
        return dbus.UInt32(len(holders))
    @dbus.service.method('org.freedesktop.ScreenSaver', 'u', '', sender_keyword='sender')
    def UnInhibit(self, cookie, sender=None):
        holders.pop(sender, None)
    @dbus.service.method('org.pixmoth.Test', '', 'u')
    def Holders(self):
        return dbus.UInt32(len(holders))
def changed(name, old, new):
    if not new:
        holders.pop(name, None)
bus.add_signal_receiver(changed, 'NameOwnerChanged', 'org.freedesktop.DBus')
name = dbus.service.BusName('org.freedesktop.ScreenSaver', bus)
saver = Saver(bus, '/org/freedesktop/ScreenSaver')
print('ready', flush=True)
GLib.MainLoop().run()
"""


class Screen:
    """A virtual screen of its own."""

    def __init__(self, size="800x480", extra=()):
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", size + "x24", "-nolisten", "tcp",
             "-noreset", *extra],
            pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            self.display = ":" + answer.readline().strip()

    def ask(self, *words):
        """What xdotool answers."""
        return subprocess.run(["xdotool", *words], env=dict(os.environ, DISPLAY=self.display),
                              capture_output=True, text=True, check=False).stdout

    def key(self, name):
        self.ask("key", name)

    def window(self, limit):
        """The show's window; empty where none comes until then."""
        window = ""
        while not window and time.time() < limit:
            window = self.ask("search", "--name", "MainWindow").split("\n")[0]
        return window

    def kill(self):
        self.server.kill()
        self.server.wait()


class Bus:
    """A session bus with a screen saver on it."""

    def __init__(self):
        self.daemon = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.daemon.stdout.readline().strip()
        environment = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=self.address)
        self.environment = environment
        # Debian's own interpreter: its D-Bus bindings are packages.
        self.saver = subprocess.Popen(["/usr/bin/python3", "-c", SAVER], env=environment,
                                      stdout=subprocess.PIPE, text=True)
        if self.saver.stdout.readline().strip() != "ready":
            sys.exit("endurance: no screen saver could be started (python3-dbus, python3-gi?)")

    def holders(self):
        answer = subprocess.run(
            ["dbus-send", "--session", "--print-reply=literal",
             "--dest=org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
             "org.pixmoth.Test.Holders"], env=self.environment, capture_output=True, text=True,
            check=False).stdout.split()
        return int(answer[-1]) if answer else -1

    def kill(self):
        self.saver.kill()
        self.daemon.kill()
        self.saver.wait()
        self.daemon.wait()


class SoundServer:
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
        limit = time.time() + 10
        while not os.path.exists(self.path):
            if self.server.poll() is not None or time.time() > limit:
                sys.exit("endurance: pulseaudio could not be started")
            time.sleep(0.05)

    def freeze(self):
        self.server.send_signal(signal.SIGSTOP)

    def thaw(self):
        self.server.send_signal(signal.SIGCONT)

    def kill(self):
        self.server.kill()
        self.server.wait()
        subprocess.run(["rm", "-rf", self.folder], check=False)


class Silence:
    """Sockets that take every call and never answer, in a folder of their own."""

    def __init__(self, folder):
        self.path = os.path.join(folder, "silent")
        self.unix = socket.socket(socket.AF_UNIX)
        self.unix.bind(self.path)
        self.unix.listen(64)
        self.tcp = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.port = self.tcp.getsockname()[1]

    def close(self):
        self.unix.close()
        self.tcp.close()


class Falterer:
    """Stands before a server and lets its greeting through, and nothing after that."""

    def __init__(self, folder, server):
        self.path = os.path.join(folder, "faltering")
        self.server = server
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen(16)
        self.calls = []
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            try:
                caller, _ = self.listener.accept()
            except OSError:
                return
            try:
                server = socket.socket(socket.AF_UNIX)
                server.connect(self.server)
                self.calls.append((caller, server))
                server.sendall(caller.recv(65536))
                caller.sendall(server.recv(65536))
            except OSError:
                continue

    def close(self):
        self.listener.close()
        for pair in self.calls:
            for end in pair:
                end.close()


def members(session):
    """The living processes of a session."""
    alive = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as stat:
                fields = stat.read().rpartition(")")[2].split()
        except OSError:
            continue
        if int(fields[3]) == session and fields[0] != "Z":
            alive.append(int(pid))
    return alive
