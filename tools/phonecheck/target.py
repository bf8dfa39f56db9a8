"""Which phones can be stood in for. Another architecture or release is another entry here."""

from dataclasses import dataclass


@dataclass(frozen=True)
class OpenGl:
    """What a build of Qt asks the driver for, and the oldest of it that a phone has."""

    name: str
    version: str  # How the driver's version begins then.
    settings: dict  # With these Mesa is no newer.


@dataclass(frozen=True)
class Architecture:
    name: str  # Debian's.
    triplet: str  # Of its compiler's name, and of its library folders.
    processor: str  # CMake's name.
    emulator: tuple  # Runs its programs here.
    opengl: OpenGl  # Of Debian's Qt.
    bits: int  # Of a pointer.


@dataclass(frozen=True)
class Release:
    """One of Debian, and what the show is built and run with there."""

    name: str
    packages: tuple
    time_bits: int  # Of a time, at least, on each architecture.


@dataclass(frozen=True)
class Target:
    architecture: Architecture
    release: Release
    # Debian's other build of Qt, on OpenGL ES, where the one that all get is on desktop OpenGL.
    gles: bool = False

    @property
    def name(self):
        return f"{self.architecture.name}-{self.release.name}{'-gles' if self.gles else ''}"

    @property
    def compiler(self):
        return self.architecture.triplet + "-g++"

    @property
    def opengl(self):
        return ES if self.gles else self.architecture.opengl

    @property
    def definitions(self):
        """The compiler may be an older release's, which takes a time for as long as a pointer."""
        if self.architecture.bits < self.release.time_bits:
            return (f"-D_FILE_OFFSET_BITS={self.release.time_bits}",
                    f"-D_TIME_BITS={self.release.time_bits}")
        return ()


ES = OpenGl("OpenGL ES 2.0", "OpenGL ES 2.0 ", {"MESA_GLES_VERSION_OVERRIDE": "2.0"})
# Mesa offers as much on a PinePhone, whose hardware knows no more than ES 2.0.
DESKTOP = OpenGl("OpenGL 2.1", "2.1 ", {"MESA_GL_VERSION_OVERRIDE": "2.1",
                                        "MESA_GLSL_VERSION_OVERRIDE": "120"})

# The compiler and the emulator of each are in the set "phone" of tools/install-packages.
ARCHITECTURES = {architecture.name: architecture for architecture in (
    Architecture("armhf", "arm-linux-gnueabihf", "armv7l", ("qemu-arm",), ES, 32),
    # The PinePhone's processor. A newer one signs return addresses, which costs the emulator half
    # of its time.
    Architecture("arm64", "aarch64-linux-gnu", "aarch64", ("qemu-aarch64", "-cpu", "cortex-a53"),
                 DESKTOP, 64),
)}

PACKAGES = (
    "qtbase5-dev", "libqt5opengl5-dev", "qtmultimedia5-dev", "qtpim5-dev", "libgles-dev",
    "libgles2", "libgstreamer1.0-dev", "libpulse-dev", "libegl-mesa0", "libgl1-mesa-dri",
    "libqt5multimedia5-plugins", "gstreamer1.0-plugins-base", "gstreamer1.0-plugins-good",
    "fonts-dejavu-core")
RELEASES = {release.name: release for release in (
    Release("bookworm", PACKAGES, time_bits=32),
    Release("trixie", PACKAGES, time_bits=64),
)}
