"""The show and its tests, built for the phone and for the PC."""

import shlex
import shutil

from phonecheck import compiler
from surroundings.show import MUSIC_FOLDER, ROOT

TOOLCHAIN = ROOT + "/tools/phonecheck/toolchain.cmake"


def configure(place, log_name, source, build, *settings):
    """Anything that CMake is to build for the phone."""
    architecture = place.target.architecture
    quick = []
    if shutil.which("ccache"):
        quick.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
    link = shlex.join(compiler.linker_flags(place))
    place.step(log_name, [
        "cmake", "-S", source, "-B", build, "-G", "Ninja", "--toolchain", TOOLCHAIN,
        f"-DPIXMOTH_TRIPLET={architecture.triplet}",
        f"-DPIXMOTH_PROCESSOR={architecture.processor}", f"-DPIXMOTH_SYSROOT={place.sysroot}",
        f"-DCMAKE_CXX_FLAGS={shlex.join(('-O1', *compiler.compiler_flags(place)))}",
        f"-DCMAKE_EXE_LINKER_FLAGS={link}", f"-DCMAKE_SHARED_LINKER_FLAGS={link}",
        *quick, *settings])


def configure_phone(place, emulator):
    configure(place, "configure.log", ROOT, place.build,
              f"-DPIXMOTH_LAUNCHER={emulator.launcher}", f"-DPIXMOTH_MUSIC_DIR={MUSIC_FOLDER}")


def build_phone(place, *targets):
    place.step("build.log", ["cmake", "--build", place.build, "--target", *targets])


def build_desktop(place, *targets):
    place.step("desktop.log", ["cmake", "--preset", "debug"])
    place.step("desktop.log", ["cmake", "--build", "--preset", "debug", "--target", *targets],
               append=True)
