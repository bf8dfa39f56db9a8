"""The parts of tools/phone-check:

    commandline   options, and the order of things
    target        which phones can be stood in for: architecture and release of Debian
    workplace     where results lie, what was started, and the verdicts
    sysroot       the phone's libraries, unpacked
    qtopengl      one of them that Debian does not have on OpenGL ES
    compiler      makes the compiler use them
    emulator      runs the phone's programs, and what they draw with
    builds        the show and its tests, for the phone and for the PC
    gltests, frames, show
                  what can be checked, one module each
    pictures      looks at pictures

Beside them: toolchain.cmake, with which CMake builds for a phone; qtopengl, how it builds that
library; contextprobe.cpp, a program that asks for a GL context there; processes.cpp, which lets
emulated programs start others.
"""
