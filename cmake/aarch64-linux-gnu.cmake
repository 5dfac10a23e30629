# Cross build for aarch64 on Debian: cmake --toolchain cmake/aarch64-linux-gnu.cmake
# docs/packages.md lists the packages. With qemu-user-static the build runs the new pni-host for its
# manual page; without it there is no page.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# pkg-config must not find the libraries of this machine.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

find_program(QEMU_AARCH64 qemu-aarch64-static)
mark_as_advanced(QEMU_AARCH64)
if(QEMU_AARCH64)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU_AARCH64})
endif()
