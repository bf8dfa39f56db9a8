# Cross-compiles for armhf against the system unpacked in PIXMOTH_SYSROOT; see tools/phone-check.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# CMake's own trials read this file again, without the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXMOTH_SYSROOT)
set(CMAKE_SYSROOT ${PIXMOTH_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${PIXMOTH_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${PIXMOTH_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${PIXMOTH_SYSROOT}/usr/share/pkgconfig)

# A program becomes two files: the program, and under its name a script that runs it in the
# emulator. Whoever starts it by that name, another test say, need not know, nor need the kernel.
get_property(trial GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT trial)
  set(CMAKE_CXX_LINK_EXECUTABLE
    "<CMAKE_CXX_COMPILER> <FLAGS> <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET>.armhf \
<LINK_LIBRARIES>"
    "${CMAKE_CURRENT_LIST_DIR}/phone-check wrap ${PIXMOTH_EMULATE} <TARGET>")
endif()
