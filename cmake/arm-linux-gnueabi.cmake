# 32-bit ARM Linux, soft float. Debian's compiler is set to ARMv5; the units have Thumb-2.
set(MCADAPT_TRIPLET arm-linux-gnueabi)
set(MCADAPT_PROCESSOR arm)
set(MCADAPT_EMULATOR qemu-arm)
set(MCADAPT_MACHINE "-march=armv7-a -mthumb")
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
