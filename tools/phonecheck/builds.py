"""The show and its tests, built for the phone and for the PC."""

import shutil

from surroundings.show import MUSIC_FOLDER, ROOT

TOOLCHAIN = ROOT + "/tools/phonecheck/toolchain.cmake"


def configure_phone(place, emulator):
    architecture = place.target.architecture
    quick = []
    if shutil.which("ccache"):
        quick.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
    place.step("configure.log", [
        "cmake", "-S", ROOT, "-B", place.build, "-G", "Ninja", "--toolchain", TOOLCHAIN,
        f"-DPIXMOTH_TRIPLET={architecture.triplet}",
        f"-DPIXMOTH_PROCESSOR={architecture.processor}", f"-DPIXMOTH_SYSROOT={place.sysroot}",
        f"-DPIXMOTH_LAUNCHER={emulator.launcher}", f"-DPIXMOTH_MUSIC_DIR={MUSIC_FOLDER}",
        "-DCMAKE_CXX_FLAGS=-O1", *quick])


def build_phone(place, *targets):
    place.step("build.log", ["cmake", "--build", place.build, "--target", *targets])


def build_desktop(place, *targets):
    place.step("desktop.log", ["cmake", "--preset", "debug"])
    place.step("desktop.log", ["cmake", "--build", "--preset", "debug", "--target", *targets],
               append=True)
