"""Everything that the show may find in place of what it hopes for, one case each."""

import os
import shutil
import socket
import subprocess
from dataclasses import dataclass, field

from surroundings import Falterer

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
MUSIC = os.path.join(ROOT, "music/beat.mp3")
NOWHERE = "unix:path=/nonexistent"
# The first line is spoken in the fourth part.
TWO_LINES_S = 4.2 + 3 * 4.8 + 1.5


@dataclass
class Case:
    name: str
    changes: dict = field(default_factory=dict)  # Of the environment; None takes one away.
    before: tuple = ()  # The command that starts the program.
    play_s: float = 1.0
    told: str = ""  # The log tells this, once.
    ends: bool = False  # By itself, with code 1 and a line that says why.


def speaker(folder, name, script, mode=0o755):
    """A synthesiser that is this script: the PATH to find it in."""
    place = os.path.join(folder, name)
    os.makedirs(place)
    path = os.path.join(place, "espeak")
    with open(path, "w", encoding="utf-8") as file:
        file.write(script)
    os.chmod(path, mode)
    return {"PATH": place + ":/usr/bin:/bin"}


def buses(silence, quiet, bus):
    unix, port = silence.path, silence.port
    for name, address in (
            ("no-session-bus", NOWHERE),
            ("silent-session-bus", "unix:path=" + unix),
            ("silent-session-bus-tcp", f"tcp:host=127.0.0.1,port={port}"),
            ("silent-session-bus-program", "unixexec:path=/bin/sleep,argv1=600"),
            ("silent-session-bus-of-two", f"{NOWHERE};unix:path={unix}"),
            ("nonsense-for-a-bus", "nonsense"),
            ("silent-screen-saver", quiet.address)):
        yield Case(name, {"DBUS_SESSION_BUS_ADDRESS": address})
    for name, address in (
            ("silent-system-bus", "unix:path=" + unix),
            ("silent-system-bus-tcp", f"tcp:host=127.0.0.1,port={port}"),
            ("silent-system-bus-program", "unixexec:path=/bin/sleep,argv1=600"),
            ("bare-system-bus", bus.address)):
        yield Case(name, {"DBUS_SYSTEM_BUS_ADDRESS": address})
    yield Case("silent-session-manager",
               {"SESSION_MANAGER": f"local/{socket.gethostname()}:{unix}"})


def voices(folder, empty):
    yield Case("no-synthesiser", {"PATH": empty}, told="No speech", play_s=TWO_LINES_S)
    yield Case("failing-synthesiser", speaker(folder, "fails", "#!/bin/sh\nexit 1\n"),
               told="No speech", play_s=TWO_LINES_S)
    yield Case("crashing-synthesiser", speaker(folder, "crashes", "#!/bin/sh\nkill -SEGV $$\n"),
               told="No speech", play_s=TWO_LINES_S)
    yield Case("synthesiser-no-program", speaker(folder, "rubbish", "\0\1\2"), told="No speech",
               play_s=TWO_LINES_S)
    # The next of that name is taken, further down the path.
    yield Case("forbidden-synthesiser", speaker(folder, "forbidden", "#!/bin/sh\n", 0o644))
    yield Case("chattering-synthesiser", speaker(folder, "chatters", "#!/bin/sh\nyes & yes >&2\n"))


def sounds(folder, silence, server):
    """`server`: a sound server that answers, or None."""
    client = os.path.join(folder, "client.conf")
    with open(client, "w", encoding="utf-8") as file:
        file.write(f"default-server = unix:{silence.path}\nautospawn = no\n")
    nowhere = os.path.join(folder, "no-runtime-folder")
    for name, changes, told in (
            ("silent-sound-server", {"PULSE_SERVER": "unix:" + silence.path}, "No sound"),
            ("silent-sound-server-bare", {"PULSE_SERVER": silence.path}, "No sound"),
            ("silent-sound-server-tcp", {"PULSE_SERVER": f"tcp:127.0.0.1:{silence.port}"},
             "No sound"),
            ("silent-sound-server-host", {"PULSE_SERVER": f"127.0.0.1:{silence.port}"},
             "No sound"),
            ("silent-sound-server-of-two",
             {"PULSE_SERVER": f"unix:/nonexistent tcp:127.0.0.1:{silence.port}"}, "No sound"),
            ("silent-sound-server-configured",
             {"PULSE_SERVER": None, "PULSE_CLIENTCONFIG": client}, "No sound"),
            ("empty-name-of-sound-server",
             {"PULSE_SERVER": "", "XDG_RUNTIME_DIR": nowhere}, "No sound"),
            ("no-runtime-folder",
             {"PULSE_SERVER": None, "XDG_RUNTIME_DIR": None, "DBUS_SESSION_BUS_ADDRESS": None},
             "")):
        yield Case(name, changes, told=told)
    if server:
        faltering = Falterer(folder, server.path)
        yield Case("faltering-sound-server", {"PULSE_SERVER": "unix:" + faltering.path},
                   told="No sound")
    fifo = os.path.join(folder, "beat.mp3")
    os.mkfifo(fifo)
    # Nobody writes to it; one that opened it would wait for ever.
    unshare = ["unshare", "--mount"] + ([] if os.getuid() == 0 else ["--map-root-user"])
    in_place = (*unshare, "sh", "-c", f'mount --bind "{fifo}" "{MUSIC}" && exec "$0"')
    if subprocess.run([*in_place[:-1], f'mount --bind "{fifo}" "{MUSIC}"'], check=False,
                      stderr=subprocess.DEVNULL).returncode == 0:
        yield Case("music-is-a-pipe", before=in_place, told="No music")
    else:
        print("left out: music-is-a-pipe (nothing can be mounted here)", flush=True)


def pictures():
    """GL that the show cannot be drawn with."""
    yield Case("indirect-gl", {"LIBGL_ALWAYS_INDIRECT": "1"}, ends=True)
    # With a display it would be rendered there, and could be played.
    yield Case("offscreen-gl", {"QT_QPA_PLATFORM": "offscreen", "DISPLAY": None}, ends=True)
    yield Case("gl-without-framebuffers",
               {"MESA_EXTENSION_OVERRIDE":
                "-GL_ARB_framebuffer_object -GL_EXT_framebuffer_object",
                "MESA_GL_VERSION_OVERRIDE": "2.1"}, ends=True)
    # By its version alone it would have them still, as extensions.
    yield Case("gl-without-shaders",
               {"MESA_EXTENSION_OVERRIDE":
                "-GL_ARB_vertex_shader -GL_ARB_fragment_shader -GL_ARB_shader_objects"}, ends=True)


def owners(folder, chance):
    cards = os.path.join(folder, "cards")
    os.makedirs(os.path.join(cards, "contacts"))
    with open(os.path.join(cards, "contacts/a.vcf"), "wb") as file:
        file.write(chance.randbytes(1 << 20))
    yield Case("no-such-address-book", {"QTCONTACTS_MANAGER_OVERRIDE": "nosuchbook"})
    yield Case("rubbish-for-cards", {"XDG_DATA_HOME": cards})
    yield Case("no-home", {"HOME": "/nonexistent", "XDG_RUNTIME_DIR": "/nonexistent",
                           "XDG_DATA_HOME": None, "XDG_CONFIG_HOME": None, "XDG_CACHE_HOME": None})
    yield Case("no-language", {"LANG": None, "LC_ALL": None, "LC_CTYPE": None})


def every(folder, chance, silence, quiet, bus, server):
    empty = os.path.join(folder, "empty")
    os.makedirs(empty, 0o700)
    yield Case("no-address-of-a-bus", {"DBUS_SESSION_BUS_ADDRESS": None, "XDG_RUNTIME_DIR": empty})
    yield from buses(silence, quiet, bus)
    yield from voices(folder, empty)
    yield from sounds(folder, silence, server)
    yield from pictures()
    yield from owners(folder, chance)


def has_sound_server():
    return shutil.which("pulseaudio") is not None
