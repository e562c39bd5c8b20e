# SPDX-License-Identifier: Apache-2.0
# Toolchain: the production target, 32-bit big-endian PowerPC, programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(ESA_PPC_SYSROOT /usr/powerpc-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${ESA_PPC_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
# Header-only libraries of the build machine are used as they are.
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L ${ESA_PPC_SYSROOT})
