# What `cmake --install` puts in place, in three components: library, development, program.

# Debian keeps the libraries of each processor in a folder of their own, so that those of the unit and of the machine
# it is built on can lie side by side. For another layout, set CMAKE_INSTALL_LIBDIR.
if(CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Libraries, below the prefix")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The port's headers are included as "platform/...": a folder of that name has no place among everybody's headers.
set(MCADAPT_PORT_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/mcadapt-port)
set(MCADAPT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/mcadapt)

target_include_directories(mcadapt_interface INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> $<INSTALL_INTERFACE:${MCADAPT_PORT_INCLUDEDIR}>)
set_target_properties(mcadapt_interface PROPERTIES EXPORT_NAME headers)

install(TARGETS mcadapt mcadapt_static mcadapt_interface EXPORT mcadapt
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(DIRECTORY include/mcadapt DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
    FILES_MATCHING PATTERN *.h)
install(DIRECTORY platform DESTINATION ${MCADAPT_PORT_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN *.h)

# The check of a port stands beside the library; a porter links it in the library's place.
if(TARGET mcadapt_portcheck)
    install(TARGETS mcadapt_portcheck EXPORT mcadapt
        ARCHIVE COMPONENT development
        PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mcadapt COMPONENT development)
    target_include_directories(mcadapt_portcheck PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    install(FILES portcheck/main.c DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/portcheck COMPONENT development)
endif()

# --- find_package(mcadapt): mcadapt::mcadapt, mcadapt::mcadapt_static, mcadapt::mcadapt_portcheck

install(EXPORT mcadapt DESTINATION ${MCADAPT_CMAKE_DIR} NAMESPACE mcadapt:: FILE mcadapt-targets.cmake
    COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mcadapt-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/mcadapt-config.cmake ${PROJECT_BINARY_DIR}/mcadapt-config-version.cmake
    DESTINATION ${MCADAPT_CMAKE_DIR} COMPONENT development)

# --- pkg-config: written when installing, as only then the prefix is certain

set(prefix_variable "\${prefix}")
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_INCLUDEDIR BASE_DIRECTORY ${prefix_variable} OUTPUT_VARIABLE includedir)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY ${prefix_variable} OUTPUT_VARIABLE libdir)
install(CODE "
    set(PROJECT_NAME [[${PROJECT_NAME}]])
    set(PROJECT_DESCRIPTION [[${PROJECT_DESCRIPTION}]])
    set(PROJECT_VERSION [[${PROJECT_VERSION}]])
    set(includedir [[${includedir}]])
    set(libdir [[${libdir}]])
    set(source [[${PROJECT_SOURCE_DIR}/cmake]])
    set(binary [[${PROJECT_BINARY_DIR}]])
    foreach(file mcadapt mcadapt-portcheck)
        configure_file(\"\${source}/\${file}.pc.in\" \"\${binary}/\${file}.pc\" @ONLY)
    endforeach()"
    COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/mcadapt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
if(TARGET mcadapt_portcheck)
    install(FILES ${PROJECT_BINARY_DIR}/mcadapt-portcheck.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endif()

# --- What a porter reads, and begins with

install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    FILES_MATCHING REGEX "/(architecture|operations|porting|records|twins)\\.md$")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

# --- The program

if(TARGET mcadapt_program)
    install(TARGETS mcadapt_program RUNTIME COMPONENT program)
    install(FILES host/program/mcadapt.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
    install(FILES host/program/mcadapt.bash-completion RENAME mcadapt
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
endif()
