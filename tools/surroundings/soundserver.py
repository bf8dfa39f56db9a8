"""Sound servers: PulseAudio, and PipeWire with what makes it one for the programs of PulseAudio."""

import array
import math
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading

from surroundings import NO_BUS
from surroundings.surrounding import CannotStart, Surrounding, end_process
from surroundings.waiting import wait_until

# A busy machine may take long.
STARTS_WITHIN_S = 60
# What all of them play to: nobody. What is played can be heard at SINK.monitor.
SINK = "null"
RATE = 8000
# In dB of full scale: nothing at all.
SILENCE_DB = -100.0
# How long the sound may be under way: whoever plays and whoever listens is asked to hold no more.
LATENCY_MS = 30


class SoundServer(Surrounding):
    """One of its own, whose programs can be frozen and started anew. Servers, settings and sound
    cards of whoever runs this are left alone. `environment` is the change with which others find
    it."""

    # Of its programs, in the order in which they start.
    programs = ()

    def __init__(self, sink=True):
        self.sink = sink
        self.folder = tempfile.mkdtemp(prefix="pixmoth-sound-")
        self.path = os.path.join(self.folder, "pulse/native")
        self.log_path = os.path.join(self.folder, "server.log")
        self.environment = {"XDG_RUNTIME_DIR": self.folder, "PULSE_SERVER": "unix:" + self.path}
        self.running = {}
        os.makedirs(os.path.dirname(self.path), 0o700)
        try:
            self.configure()
            self.start(self.programs)
        except BaseException:
            self.end()
            raise

    @classmethod
    def is_installed(cls):
        return all(shutil.which(program) for program in (*cls.programs, "pactl"))

    def configure(self):
        """Writes what the programs read."""

    def command(self, program):
        return [program]

    def has_started(self, _program):
        """Whether those that need it may be started."""
        return True

    def own_environment(self):
        """Without the buses, on which a server would ask for the sound cards, and without what its
        guests are told of others of its kind."""
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("PULSE_", "PIPEWIRE_"))}
        environment.update(
            HOME=self.folder, XDG_RUNTIME_DIR=self.folder,
            XDG_CONFIG_HOME=os.path.join(self.folder, "config"),
            XDG_STATE_HOME=os.path.join(self.folder, "state"),
            DBUS_SESSION_BUS_ADDRESS=NO_BUS, DBUS_SYSTEM_BUS_ADDRESS=NO_BUS)
        return environment

    def start(self, programs):
        """They are there when this returns."""
        for program in programs:
            with open(self.log_path, "a", encoding="utf-8") as log:
                try:
                    self.running[program] = subprocess.Popen(
                        self.command(program), env=self.own_environment(),
                        stdin=subprocess.DEVNULL, stdout=log, stderr=log)
                except OSError as failure:
                    raise CannotStart(f"no sound server could be started: {failure}") from failure
            wait_until(lambda name=program: self.has_started(name), STARTS_WITHIN_S)
        if not wait_until(lambda: self.answers() or self.has_died(), STARTS_WITHIN_S) or \
                self.has_died():
            raise CannotStart("no sound server could be started:\n" + self.last_words())

    def ask(self, *words):
        """What pactl is answered; empty where it is not."""
        try:
            return subprocess.run(["pactl", *words], env={**os.environ, **self.environment},
                                  capture_output=True, text=True, check=False, timeout=1).stdout
        except subprocess.TimeoutExpired:
            return ""

    def loudness(self, seconds):
        """Of what is played now and so long, in dB of full scale."""
        with subprocess.Popen(
                ["parec", f"--device={SINK}.monitor", "--raw", "--format=s16le", f"--rate={RATE}",
                 "--channels=1", f"--latency-msec={LATENCY_MS}"],
                env={**os.environ, **self.environment}, stdout=subprocess.PIPE,
                stderr=subprocess.DEVNULL) as recorder:
            # A server that does not play sends nothing.
            watch = threading.Timer(seconds + STARTS_WITHIN_S, recorder.kill)
            watch.start()
            samples = recorder.stdout.read(2 * int(RATE * seconds))
            watch.cancel()
            recorder.kill()
        return loudness_of(samples)

    def answers(self):
        """Only with a sink to play to has all of a server begun its work."""
        return self.ask("get-default-sink").strip() == SINK if self.sink else self.ask("info")

    def has_died(self):
        return any(process.poll() is not None for process in self.running.values())

    def last_words(self):
        with open(self.log_path, encoding="utf-8", errors="replace") as log:
            return "".join(log.readlines()[-10:])

    def freeze(self, *programs):
        """These, or all."""
        for program in programs or self.programs:
            self.running[program].send_signal(signal.SIGSTOP)

    def thaw(self, *programs):
        for program in programs or self.programs:
            self.running[program].send_signal(signal.SIGCONT)

    def stop(self, *programs):
        """At once, the last first: whom it serves goes before it."""
        for program in reversed(programs or self.programs):
            if program in self.running:
                end_process(self.running.pop(program))

    def end(self):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)


class PulseAudio(SoundServer):
    programs = ("pulseaudio",)

    def command(self, program):
        # One that could go back would play two seconds in advance from its start, and what comes in
        # these two seconds would be heard late, or bear a wrong time.
        sink = ["-L", f"module-null-sink sink_name={SINK} rate=44100 channels=2 norewinds=1"]
        return [program, "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
                "--disable-shm=yes", *(sink if self.sink else []),
                "-L", f"module-native-protocol-unix socket={self.path} auth-anonymous=1 "
                      "auth-cookie-enabled=0"]


class PipeWire(SoundServer):
    """The session manager, which joins each stream to a sink, is told to look for no devices, and
    for no portal: in the language of its releases before 0.5, and in that of those since."""

    programs = ("pipewire", "wireplumber", "pipewire-pulse")

    def configure(self):
        devices = ("alsa", "v4l2", "libcamera")
        self.write("wireplumber/main.lua.d/51-alone.lua",
                   *(f"{device}_monitor.enabled = false" for device in devices),
                   'default_access.properties["enable-flatpak-portal"] = false')
        self.write("wireplumber/bluetooth.lua.d/51-alone.lua", "bluez_monitor.enabled = false")
        self.write("wireplumber/wireplumber.conf.d/51-alone.conf",
                   "wireplumber.profiles = { main = {",
                   *(f"monitor.{device} = disabled"
                     for device in (*devices, "alsa-midi", "bluez", "bluez-midi")), "} }")
        # One of the server itself, as a sound card would be: it is there for as long as the server.
        if self.sink:
            self.write("pipewire/pipewire.conf.d/sink.conf",
                       "context.objects = [ { factory = adapter args = {",
                       "factory.name = support.null-audio-sink", f'node.name = "{SINK}"',
                       "media.class = Audio/Sink", "audio.rate = 44100",
                       "audio.position = [ FL FR ]", "object.linger = true", "} } ]")

    def write(self, name, *lines):
        path = os.path.join(self.folder, "config", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")

    def has_started(self, program):
        if program != "pipewire":
            return True
        # Its socket may be that of one before it.
        with socket.socket(socket.AF_UNIX) as guest:
            return guest.connect_ex(os.path.join(self.folder, "pipewire-0")) == 0


def loudness_of(samples):
    """In dB of full scale. The samples are of 16 bits, the low byte first."""
    values = array.array("h", samples[:len(samples) // 2 * 2])
    if sys.byteorder == "big":
        values.byteswap()
    power = sum(value * value for value in values) / 32768 ** 2 / max(len(values), 1)
    return 10 * math.log10(power) if power > 0 else SILENCE_DB


KINDS = {"pulseaudio": PulseAudio, "pipewire": PipeWire}


def kind(name=None):
    """The kind of server of this name, or of SOUND_SERVER's, or the first that is installed. None
    where none is."""
    name = name or os.environ.get("SOUND_SERVER")
    if name:
        if name not in KINDS:
            raise CannotStart(f"there is no sound server called '{name}' here")
        return KINDS[name]
    return next((each for each in KINDS.values() if each.is_installed()), None)
