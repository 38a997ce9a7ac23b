# Cross-build for the unit (64-bit ARM) on a Debian machine with arm64 multiarch packages:
#
#     cmake -S . -B build-arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake
#
# The target's headers and libraries sit beside the build machine's own (/usr/lib/aarch64-linux-gnu),
# so the root is / and the library architecture picks the arm64 copies. Qt's arm64 CMake files name
# the build machine's moc and rcc in /usr/lib/qt5/bin, which is what a cross-build needs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Libraries, headers and packages of the target only; programs (moc, qmllint, amixer) of the build machine.
set(CMAKE_FIND_ROOT_PATH /)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config reads the arm64 .pc files (dbus-1, alsa) and the architecture-free ones only.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

# Tests and other built programs run through user-mode emulation, called by name: no binfmt needed.
# Programs they start themselves (amixer, dbus-daemon, Xvfb) are the build machine's and run natively.
find_program(EQ_QEMU_AARCH64 qemu-aarch64-static)
if(EQ_QEMU_AARCH64)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${EQ_QEMU_AARCH64})
endif()
