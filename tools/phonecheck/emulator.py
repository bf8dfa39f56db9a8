"""Runs the phone's programs on this machine, and what they draw with."""

import os
import shlex
import socket
import subprocess

from phonecheck import compiler
from phonecheck.workplace import StepFailed
from surroundings.screen import Screen
from surroundings.show import ROOT
from surroundings.waiting import wait_until

SOURCES = os.path.join(ROOT, "tools/phonecheck")
# Beside PROGRAM, which runs it; see toolchain.cmake and processes.cpp.
EMULATED_SUFFIX = ".emulated"
# Where Mesa looks for the drawing server, and nowhere else.
SERVER_SOCKET = "/tmp/.virgl_test"
SERVER_STARTS_WITHIN_S = 5
# Mesa's driver that hands the drawing to that server.
DRAWS_OUTSIDE = "virpipe"
# The exit code of contextprobe.cpp for it.
WRONG_CONTEXT = 2


class Emulator:
    """Two scripts: one runs a program of the phone's, the other is what toolchain.cmake wants."""

    def __init__(self, place, renderer):
        self.place = place
        self.renderer = renderer
        self.run = place.path("emulate")
        self.launcher = place.path("launcher")
        self.processes = place.path("processes.so")

    def provide(self):
        if self.renderer == DRAWS_OUTSIDE:
            self.start_drawing_server()
        self.compile("processes.log", "-shared", os.path.join(SOURCES, "processes.cpp"),
                     "-o", self.processes)
        write_script(self.run, self.script())
        write_script(self.launcher,
                     f'exec {shlex.quote(self.run)} "$0{EMULATED_SUFFIX}" "$@"')

    def script(self):
        """The settings go to the emulated program alone: a virtual screen of this machine would
        heed them. Qt asks whether its folder of plugins is there, by a call of arm64's that the
        emulator does not lead into the sysroot. There is one look at the sound plugins for all,
        where they are, in the process that asks: GStreamer's scanner is no program of this
        machine."""
        settings = {
            "LD_PRELOAD": self.processes,
            "LIBGL_ALWAYS_SOFTWARE": "1",
            "GALLIUM_DRIVER": self.renderer,
            "QT_PLUGIN_PATH": os.path.join(self.place.libraries, "qt5/plugins"),
            "GST_PLUGIN_SYSTEM_PATH": os.path.join(self.place.libraries, "gstreamer-1.0"),
            "GST_REGISTRY": self.place.path("gstreamer.registry"),
            "GST_REGISTRY_FORK": "no",
        }
        words = [*self.place.target.architecture.emulator, "-L", self.place.sysroot]
        for name, value in settings.items():
            words += ["-E", f"{name}={value}"]
        # A test may ask for less.
        held = " ".join(f'-E {name}="${{{name}-{value}}}"'
                        for name, value in self.place.target.opengl.settings.items())
        return f'exec {shlex.join(words)} {held} "$@"'

    def start_drawing_server(self):
        if is_answered(SERVER_SOCKET):
            raise StepFailed("another virgl_test_server is running, perhaps another check's")
        if os.path.exists(SERVER_SOCKET):
            os.remove(SERVER_SOCKET)
        server = self.place.start(self.place.path("renderer.log"),
                                  ["virgl_test_server", "--use-egl-surfaceless"])
        wait_until(lambda: os.path.exists(SERVER_SOCKET) or server.poll() is not None,
                   SERVER_STARTS_WITHIN_S)
        if not os.path.exists(SERVER_SOCKET):
            raise StepFailed("virgl_test_server could not be started")

    def compile(self, log_name, *arguments):
        self.place.step(log_name, [self.place.target.compiler, f"--sysroot={self.place.sysroot}",
                                   "-fPIC", "-O1", "-w", *compiler.compiler_flags(self.place),
                                   *compiler.linker_flags(self.place), *arguments])

    def check_context(self):
        """What a QGLWidget of the phone's build gets."""
        opengl = self.place.target.opengl
        probe = self.place.path("contextprobe")
        flags = subprocess.run(
            ["pkg-config", "--cflags", "--libs", "Qt5OpenGL", "Qt5Widgets", "glesv2"],
            env=dict(os.environ, PKG_CONFIG_SYSROOT_DIR=self.place.sysroot,
                     PKG_CONFIG_LIBDIR=":".join((
                         os.path.join(self.place.libraries, "pkgconfig"),
                         os.path.join(self.place.sysroot, "usr/share/pkgconfig")))),
            capture_output=True, text=True, check=True).stdout.split()
        self.compile("contextprobe-build.log", os.path.join(SOURCES, "contextprobe.cpp"),
                     "-o", probe, *flags)
        log_path = self.place.path("contextprobe.log")
        with Screen() as screen, open(log_path, "w", encoding="utf-8") as log:
            told = subprocess.run([self.run, probe, opengl.version], stdout=subprocess.PIPE,
                                  stderr=log, text=True,
                                  env=self.place.environment(DISPLAY=screen.display), check=False)
        print(told.stdout, end="")
        if told.returncode == 0:
            self.place.passed(f"the context is strictly {opengl.name}")
        elif told.returncode == WRONG_CONTEXT:
            self.place.failed(f"the context is not {opengl.name}; see {log_path}")
        else:
            raise StepFailed("what this machine's compiler builds does not run on "
                             f"{self.place.target.name}; see {log_path}")


def write_script(path, line):
    """Only where it is another one: what depends on it need not be built again."""
    text = f"#!/bin/sh\n{line}\n"
    if os.path.exists(path):
        with open(path, encoding="utf-8") as file:
            if file.read() == text:
                return
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(path, 0o755)


def is_answered(path):
    """Whether somebody takes calls at a socket."""
    with socket.socket(socket.AF_UNIX) as caller:
        try:
            caller.connect(path)
        except OSError:
            return False
    return True
