"""A sound card past any server, for programs that play through ALSA."""

import os

from surroundings import NO_SOUND_SERVER
from surroundings.surrounding import Surrounding


def default_card(folder, definition):
    """Changes of the environment with which others play to what ALSA is told here, in a folder that
    this makes."""
    os.makedirs(folder)
    config = os.path.join(folder, "asound.conf")
    with open(config, "w", encoding="utf-8") as file:
        file.write(definition)
    return {"ALSA_CONFIG_PATH": config, "PULSE_SERVER": NO_SOUND_SERVER}


def busy_card(folder, plugin):
    """Of a card that somebody else holds. `plugin`: of ALSA, the one that says so."""
    return default_card(folder, f'pcm_type.busy {{ lib "{plugin}" }}\n'
                                "pcm.!default { type busy }\n")


class FrozenCard(Surrounding):
    """It takes what it has room for and plays nothing of it, or `opens` not even. It lies in a
    folder of the caller's. `environment` is the change with which others find it."""

    def __init__(self, folder, opens):
        fifo = os.path.join(folder, "card")
        self.environment = default_card(
            folder, f'pcm.!default {{ type file slave.pcm {{ type null }} format raw '
                    f'file "{fifo}" }}\n')
        os.mkfifo(fifo)
        # Nobody reads from it. Without this, whoever wants to write would wait for a reader.
        self.reader = os.open(fifo, os.O_RDWR) if opens else None

    def end(self):
        if self.reader is not None:
            os.close(self.reader)
