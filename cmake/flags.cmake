# Settings of the project's targets, one INTERFACE target per purpose.

# What users of the library see: the exported operations and the platform calls.
add_library(mcadapt_interface INTERFACE)
target_include_directories(mcadapt_interface INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)

# Warnings and instrumentation, for everything that is compiled here.
add_library(mcadapt_flags INTERFACE)
target_compile_options(mcadapt_flags INTERFACE
    -Werror -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wcast-qual -Wcast-align
    -Wundef -Wvla -Wwrite-strings
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wextra-semi -Wnon-virtual-dtor -Woverloaded-virtual>)
if(MCADAPT_SANITIZE)
    target_compile_options(mcadapt_flags INTERFACE -fsanitize=${MCADAPT_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_link_options(mcadapt_flags INTERFACE -fsanitize=${MCADAPT_SANITIZE})
endif()

# The library itself: C++ without its run time. Calls between its own functions are bound at link time, so that no
# other object of the process can slip in between; without unwind tables nothing is wanted from libgcc_s.
add_library(mcadapt_library_flags INTERFACE)
target_compile_options(mcadapt_library_flags INTERFACE
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility=hidden -fno-semantic-interposition)
if(NOT MCADAPT_SANITIZE)
    target_compile_options(mcadapt_library_flags INTERFACE -fno-unwind-tables -fno-asynchronous-unwind-tables)
endif()
if(MCADAPT_FOOTPRINT)
    target_compile_options(mcadapt_library_flags INTERFACE -fcallgraph-info=su)
endif()
if(MCADAPT_COVERAGE)
    target_compile_options(mcadapt_library_flags INTERFACE --coverage)
    target_link_options(mcadapt_interface INTERFACE --coverage)
endif()
target_link_libraries(mcadapt_library_flags INTERFACE mcadapt_flags)

add_library(mcadapt_link_flags INTERFACE)
target_link_options(mcadapt_link_flags INTERFACE -Wl,-Bsymbolic-functions -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack
    -Wl,--as-needed) # CMake names the C++ run time, which the library does not use
if(MCADAPT_SANITIZE)
    target_link_options(mcadapt_link_flags INTERFACE -fsanitize=${MCADAPT_SANITIZE})
elseif(NOT MCADAPT_COVERAGE)
    # Nothing runs when the library is loaded or unloaded, so the compiler's start files would be 750 bytes of ballast.
    target_link_options(mcadapt_link_flags INTERFACE -nostartfiles)
endif()
