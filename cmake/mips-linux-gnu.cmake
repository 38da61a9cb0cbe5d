# 32-bit MIPS Linux, big-endian.
set(MCADAPT_TRIPLET mips-linux-gnu)
set(MCADAPT_PROCESSOR mips)
set(MCADAPT_EMULATOR qemu-mips)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
