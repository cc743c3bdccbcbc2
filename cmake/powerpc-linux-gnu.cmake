# Toolchain of the target: 32-bit big-endian PowerPC with Linux, by Debian's cross compiler. What is built runs
# under qemu's user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)

set(LCMP_TARGET_ROOT /usr/powerpc-linux-gnu)
# The upper quarter of the address space stays the kernel's, as on the target: AddressSanitizer counts on that.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -R 0xc0000000 -L ${LCMP_TARGET_ROOT})

# Programs are this machine's, everything else the target's.
list(APPEND CMAKE_FIND_ROOT_PATH ${LCMP_TARGET_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
