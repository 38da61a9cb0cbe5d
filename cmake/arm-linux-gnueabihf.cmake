# 32-bit ARM Linux, hard float.
set(MCADAPT_TRIPLET arm-linux-gnueabihf)
set(MCADAPT_PROCESSOR arm)
set(MCADAPT_EMULATOR qemu-arm)
set(MCADAPT_MACHINE "-mthumb")
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
