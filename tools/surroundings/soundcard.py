"""A sound card past any server, for programs that play through ALSA."""

import os

from surroundings import NO_SOUND_SERVER
from surroundings.surrounding import Surrounding


class FrozenCard(Surrounding):
    """It takes what it has room for and plays nothing of it, or `opens` not even. It lies in a
    folder of the caller's. `environment` is the change with which others find it."""

    def __init__(self, folder, opens):
        os.makedirs(folder)
        fifo = os.path.join(folder, "card")
        config = os.path.join(folder, "asound.conf")
        os.mkfifo(fifo)
        with open(config, "w", encoding="utf-8") as file:
            file.write(f'pcm.!default {{ type file slave.pcm {{ type null }} format raw '
                       f'file "{fifo}" }}\n')
        self.environment = {"ALSA_CONFIG_PATH": config, "PULSE_SERVER": NO_SOUND_SERVER}
        # Nobody reads from it. Without this, whoever wants to write would wait for a reader.
        self.reader = os.open(fifo, os.O_RDWR) if opens else None

    def end(self):
        if self.reader is not None:
            os.close(self.reader)
