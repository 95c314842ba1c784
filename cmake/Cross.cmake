# SPDX-License-Identifier: Apache-2.0
# Toolchain file: Debian's compiler for another architecture, and qemu to run what it makes.
#
#   cmake --toolchain cmake/Cross.cmake -DVORNIX_TARGET=aarch64 ...
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VORNIX_TARGET)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${VORNIX_TARGET})
set(CMAKE_LIBRARY_ARCHITECTURE ${VORNIX_TARGET}-linux-gnu)
set(CMAKE_CXX_COMPILER ${VORNIX_TARGET}-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${VORNIX_TARGET}-static)
