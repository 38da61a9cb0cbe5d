# Debian packages, made by `cpack` from a build: the library, its development files, the program.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "mcadapt developers <mcadapt@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET mcadapt_program)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# The processor's name in Debian's words: armhf for arm-linux-gnueabihf.
if(CMAKE_LIBRARY_ARCHITECTURE)
    execute_process(COMMAND dpkg-architecture -t${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
        OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

# CPack has no field for it: with the section, each package says how it goes with those of other processors.
set(runtime_package libmcadapt${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION "libs\nMulti-Arch: same")
if(CMAKE_CROSSCOMPILING)
    # dpkg-shlibdeps knows the machine's own libraries; cpack reads the library itself instead.
    set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/cross_depends.cmake)
    set(CPACK_MCADAPT_READELF ${CMAKE_READELF})
    set(CPACK_MCADAPT_LIBRARY ${PROJECT_BINARY_DIR}/libmcadapt.so)
else()
    set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "multicast adaptation library of an optical network unit
Takes the IGMP and MLD frames that the unit's switch traps, hands them to the
protocol engine, forwards them with rewritten 802.1Q tags and installs the
forwarding entries that the engine asks for.
.
The process that loads the library supplies the engine, the switch driver and
the unit's services.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmcadapt-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION}), libc6-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "multicast adaptation library of an optical network unit - development
Headers of the operations and of the calls that a port supplies, the static
library, files for pkg-config and CMake, a check of ports, and how to write a
port, with an example.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME mcadapt)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION "net\nMulti-Arch: foreign")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "replays captures through a multicast adaptation unit
Runs captures of an optical network unit's ports and its configuration through
the multicast adaptation library inside a whole unit on a PC, and explains what
became of each frame.")

include(CPack)
