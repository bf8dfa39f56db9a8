"""Which phones can be stood in for. Another architecture or release is another entry here."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Architecture:
    """One for which Debian builds Qt on OpenGL ES."""

    name: str  # Debian's.
    triplet: str  # Of its compiler's name, and of its library folders.
    processor: str  # CMake's name.
    emulator: str  # Runs its programs here.


@dataclass(frozen=True)
class Release:
    """One of Debian, and what the show is built and run with there."""

    name: str
    packages: tuple


@dataclass(frozen=True)
class Target:
    architecture: Architecture
    release: Release

    @property
    def name(self):
        return f"{self.architecture.name}-{self.release.name}"

    @property
    def compiler(self):
        return self.architecture.triplet + "-g++"


# The compiler and the emulator of each are in the set "phone" of tools/install-packages.
ARCHITECTURES = {architecture.name: architecture for architecture in (
    Architecture("armhf", "arm-linux-gnueabihf", "armv7l", "qemu-arm"),
)}
RELEASES = {release.name: release for release in (
    Release("bookworm", (
        "qtbase5-dev", "libqt5opengl5-dev", "qtmultimedia5-dev", "qtpim5-dev", "libgles-dev",
        "libgles2", "libgstreamer1.0-dev", "libpulse-dev", "libegl-mesa0", "libgl1-mesa-dri",
        "libqt5multimedia5-plugins", "gstreamer1.0-plugins-base", "gstreamer1.0-plugins-good",
        "fonts-dejavu-core")),
)}
