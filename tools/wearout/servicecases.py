"""Everything that the show may find in place of what it hopes for, one case each."""

import os
import shlex
import socket
import subprocess
from dataclasses import dataclass, field

from surroundings import NO_BUS
from surroundings.show import (
    FIRST_PART_S, MUSIC, NO_MUSIC_LINE, NO_SOUND_LINE, NO_SPEECH_LINE, PART_S)
from surroundings.soundcard import busy_card
from wearout.trials import BUSY_CARD, write_program

# The first line is spoken in the fourth part, the second in the fifth.
TWO_LINES_S = FIRST_PART_S + 3 * PART_S + 1.5


@dataclass
class Case:
    name: str
    changes: dict = field(default_factory=dict)  # Of the environment; None takes one away.
    before: tuple = ()  # The command that starts the program.
    play_s: float = 1.0
    told: str = ""  # The log tells this, once.
    ends: bool = False  # By itself, with code 1 and a line that says why.


def synthesiser(folder, name, script, mode=0o755):
    """One that is this script: the change of the environment with which it is found."""
    place = os.path.join(folder, name)
    os.makedirs(place)
    write_program(os.path.join(place, "espeak"), script, mode)
    return {"PATH": place + ":/usr/bin:/bin"}


def buses(silence, frozen_saver, bus):
    unix, port = silence.path, silence.port
    for name, address in (
            ("no-session-bus", NO_BUS),
            ("silent-session-bus", "unix:path=" + unix),
            ("silent-session-bus-tcp", f"tcp:host=127.0.0.1,port={port}"),
            ("silent-session-bus-program", "unixexec:path=/bin/sleep,argv1=600"),
            ("silent-session-bus-of-two", f"{NO_BUS};unix:path={unix}"),
            ("nonsense-for-a-bus", "nonsense"),
            ("silent-screen-saver", frozen_saver.address)):
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
    for name, changes in (
            ("no-synthesiser", {"PATH": empty}),
            ("failing-synthesiser", synthesiser(folder, "fails", "#!/bin/sh\nexit 1\n")),
            ("crashing-synthesiser",
             synthesiser(folder, "crashes", "#!/bin/sh\nkill -SEGV $$\n")),
            ("synthesiser-no-program", synthesiser(folder, "rubbish", "\0\1\2"))):
        yield Case(name, changes, told=NO_SPEECH_LINE, play_s=TWO_LINES_S)
    # The next of that name is taken, further down the path.
    yield Case("forbidden-synthesiser", synthesiser(folder, "forbidden", "#!/bin/sh\n", 0o644))
    yield Case("chattering-synthesiser",
               synthesiser(folder, "chatters", "#!/bin/sh\nyes & yes >&2\n"))


def sounds(folder, silence, faltering):
    """`faltering`: a sound server that does not go on answering, or None."""
    client = os.path.join(folder, "client.conf")
    with open(client, "w", encoding="utf-8") as file:
        file.write(f"default-server = unix:{silence.path}\nautospawn = no\n")
    local = f"127.0.0.1:{silence.port}"
    for name, changes in (
            ("silent-sound-server", {"PULSE_SERVER": "unix:" + silence.path}),
            ("silent-sound-server-bare", {"PULSE_SERVER": silence.path}),
            ("silent-sound-server-tcp", {"PULSE_SERVER": "tcp:" + local}),
            ("silent-sound-server-host", {"PULSE_SERVER": local}),
            ("silent-sound-server-of-two", {"PULSE_SERVER": "unix:/nonexistent tcp:" + local}),
            ("silent-sound-server-configured",
             {"PULSE_SERVER": None, "PULSE_CLIENTCONFIG": client}),
            ("empty-name-of-sound-server",
             {"PULSE_SERVER": "", "XDG_RUNTIME_DIR": os.path.join(folder, "no-runtime-folder")})):
        yield Case(name, changes, told=NO_SOUND_LINE)
    yield Case("no-runtime-folder", {"PULSE_SERVER": None, "XDG_RUNTIME_DIR": None,
                                     "DBUS_SESSION_BUS_ADDRESS": None})
    if faltering:
        yield Case("faltering-sound-server", {"PULSE_SERVER": "unix:" + faltering.path},
                   told=NO_SOUND_LINE)


def sound_cards(folder, cards):
    yield Case("busy-sound-card", busy_card(os.path.join(folder, "busy-card"), BUSY_CARD),
               told=NO_SOUND_LINE)
    for name, card in zip(("frozen-sound-card", "sound-card-that-never-opens"), cards):
        yield Case(name, card.environment, play_s=2.5)


def musics(folder):
    """A pipe in place of the music. Nobody writes to it; one that opened it would wait for ever.
    It is there for the program alone, in a space of mounts of its own."""
    fifo = os.path.join(folder, "beat.mp3")
    os.mkfifo(fifo)
    unshare = ["unshare", "--mount"] + ([] if os.getuid() == 0 else ["--map-root-user"])
    mount = shlex.join(["mount", "--bind", fifo, MUSIC])
    if subprocess.run([*unshare, "sh", "-c", mount], check=False,
                      stderr=subprocess.DEVNULL).returncode == 0:
        yield Case("music-is-a-pipe", before=(*unshare, "sh", "-c", mount + ' && exec "$0"'),
                   told=NO_MUSIC_LINE)
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
    """Address books, and homes."""
    cards = os.path.join(folder, "cards")
    os.makedirs(os.path.join(cards, "contacts"))
    with open(os.path.join(cards, "contacts/a.vcf"), "wb") as file:
        file.write(chance.bytes(1 << 20))
    yield Case("no-such-address-book", {"QTCONTACTS_MANAGER_OVERRIDE": "nosuchbook"})
    yield Case("rubbish-for-cards", {"XDG_DATA_HOME": cards})
    yield Case("no-home", {"HOME": "/nonexistent", "XDG_RUNTIME_DIR": "/nonexistent",
                           "XDG_DATA_HOME": None, "XDG_CONFIG_HOME": None, "XDG_CACHE_HOME": None})
    yield Case("no-language", {"LANG": None, "LC_ALL": None, "LC_CTYPE": None})


def every(trials, silence, frozen_saver, faltering, cards):
    folder = trials.folder
    empty = os.path.join(folder, "empty")
    os.makedirs(empty, 0o700)
    yield Case("no-address-of-a-bus", {"DBUS_SESSION_BUS_ADDRESS": None, "XDG_RUNTIME_DIR": empty})
    yield from buses(silence, frozen_saver, trials.bus)
    yield from voices(folder, empty)
    yield from sounds(folder, silence, faltering)
    yield from sound_cards(folder, cards)
    yield from musics(folder)
    yield from pictures()
    yield from owners(folder, trials.chance)
