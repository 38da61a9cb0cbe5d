# Run by cpack: makes the library's package depend on the oldest libc6 with all that the library takes from libc, which
# is all it takes from anybody.
execute_process(COMMAND ${CPACK_MCADAPT_READELF} --version-info ${CPACK_MCADAPT_LIBRARY}
    OUTPUT_VARIABLE needed COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Name: GLIBC_[0-9.]+" needed "${needed}")
list(TRANSFORM needed REPLACE "Name: GLIBC_" "")
list(SORT needed COMPARE NATURAL ORDER DESCENDING)
list(GET needed 0 newest)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= ${newest})")
