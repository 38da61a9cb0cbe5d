# The exported names and their version, from the list that the tests of the binary interface read.
#
# The node is named after the major version, as the SONAME is: a program that was linked with one libmcadapt.so.0 runs
# with every other that has all the names it uses.

set(MCADAPT_EXPORT_LIST ${PROJECT_SOURCE_DIR}/tests/abi/exported_symbols.txt)
set(MCADAPT_SYMBOL_NODE MCADAPT_${PROJECT_VERSION_MAJOR})
set(MCADAPT_VERSION_SCRIPT ${PROJECT_BINARY_DIR}/mcadapt.map)

file(STRINGS ${MCADAPT_EXPORT_LIST} mcadapt_exports REGEX "^(function|object) ")
set(mcadapt_names "")
foreach(line IN LISTS mcadapt_exports)
    string(REGEX REPLACE "^[a-z]+ " "" name "${line}")
    string(APPEND mcadapt_names "        ${name};\n")
endforeach()
file(CONFIGURE OUTPUT ${MCADAPT_VERSION_SCRIPT} CONTENT
    "${MCADAPT_SYMBOL_NODE} {\n    global:\n${mcadapt_names}    local:\n        *;\n};\n")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${MCADAPT_EXPORT_LIST})

target_link_options(mcadapt PRIVATE LINKER:--version-script=${MCADAPT_VERSION_SCRIPT})
set_property(TARGET mcadapt APPEND PROPERTY LINK_DEPENDS ${MCADAPT_VERSION_SCRIPT})
