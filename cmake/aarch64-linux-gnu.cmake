# 64-bit ARM Linux.
set(MCADAPT_TRIPLET aarch64-linux-gnu)
set(MCADAPT_PROCESSOR aarch64)
set(MCADAPT_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
