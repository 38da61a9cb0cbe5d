# What Debian's cross compilers share. A toolchain file names MCADAPT_TRIPLET, its processor, its emulator and, where
# the compiler is to be told, MCADAPT_MACHINE, and includes this file.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${MCADAPT_PROCESSOR})

set(CMAKE_C_COMPILER ${MCADAPT_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${MCADAPT_TRIPLET}-g++)
set(CMAKE_C_FLAGS_INIT "${MCADAPT_MACHINE}")
# Without GCC's notes on how versions before 7 passed some arguments: all C++ here comes from one compiler.
set(CMAKE_CXX_FLAGS_INIT "${MCADAPT_MACHINE} -Wno-psabi")
set(CMAKE_CROSSCOMPILING_EMULATOR ${MCADAPT_EMULATOR} -L /usr/${MCADAPT_TRIPLET})

set(CMAKE_FIND_ROOT_PATH /usr/${MCADAPT_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
