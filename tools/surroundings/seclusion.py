"""An environment in which a program sees nothing of whoever runs it."""

import os

from surroundings import NO_BUS, NO_SOUND_SERVER


def secluded(runtime, **changes):
    """With `runtime` as the folder for sockets and settings, and no screen, buses and sound."""
    environment = dict(os.environ, XDG_RUNTIME_DIR=runtime, XDG_CONFIG_HOME=runtime,
                       XDG_DATA_HOME=runtime, LANG="C.UTF-8", DBUS_SESSION_BUS_ADDRESS=NO_BUS,
                       DBUS_SYSTEM_BUS_ADDRESS=NO_BUS, PULSE_SERVER=NO_SOUND_SERVER)
    for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"):
        environment.pop(name, None)
    environment.update(changes)
    return environment
