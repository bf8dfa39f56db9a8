# Cross-compiles for a phone against its libraries; see tools/phone-check, which says
#   PIXMOTH_TRIPLET    of the compiler's name, and of the library folders: arm-linux-gnueabihf
#   PIXMOTH_PROCESSOR  as CMake names it
#   PIXMOTH_SYSROOT    where the phone's system is unpacked
#   PIXMOTH_LAUNCHER   a script that, copied to PROGRAM, runs PROGRAM.emulated in the emulator
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${PIXMOTH_PROCESSOR})
set(CMAKE_CXX_COMPILER ${PIXMOTH_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${PIXMOTH_TRIPLET})

# CMake's own trials read this file again, without the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
  PIXMOTH_TRIPLET PIXMOTH_PROCESSOR PIXMOTH_SYSROOT)
# As a system's folder, the one of the C library would come before those of the compiler.
set(CMAKE_NO_SYSTEM_FROM_IMPORTED ON)
set(CMAKE_SYSROOT ${PIXMOTH_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${PIXMOTH_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${PIXMOTH_SYSROOT}/usr/lib/${PIXMOTH_TRIPLET}/pkgconfig:${PIXMOTH_SYSROOT}/usr/share/pkgconfig)

# A program becomes two files: the program, and under its name a script that runs it in the
# emulator. Whoever starts it by that name, another test say, need not know, nor need the kernel.
get_property(trial GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT trial)
  set(CMAKE_CXX_LINK_EXECUTABLE
    "<CMAKE_CXX_COMPILER> <FLAGS> <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> \
-o <TARGET>.emulated <LINK_LIBRARIES>"
    "${CMAKE_COMMAND} -E copy ${PIXMOTH_LAUNCHER} <TARGET>")
endif()
