"""What the tools start the show in: screens, buses, sound servers, and servers that never answer.

Each is a process or a socket of its own, which a with statement ends.
"""

# Where nothing listens: the address of a bus that cannot be reached.
NO_BUS = "unix:path=/nonexistent"
NO_SOUND_SERVER = "unix:/nonexistent"
