# The version that library and host tell: `git describe` of the tree they were
# built from, or the project's version where there is no git or no tag.
#
# Target modbus_version: link it to include "version.h" (MODBUS_RTU_VERSION_TEXT).
# MODBUS_LIBRARY_IDENTIFICATION: source that puts the version into the library.

set(MODBUS_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)
set(MODBUS_DESCRIBE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/DescribeVersion.cmake)
set(MODBUS_LIBRARY_IDENTIFICATION ${CMAKE_CURRENT_LIST_DIR}/identification.cpp)

# At every build, not only at configuration: a commit changes the version. The
# header is only rewritten when its text changes.
add_custom_target(modbus_version_header
    COMMAND ${CMAKE_COMMAND}
        -D SOURCE_DIR=${PROJECT_SOURCE_DIR} -D FALLBACK=${PROJECT_VERSION}
        -D TEMPLATE=${CMAKE_CURRENT_LIST_DIR}/version.h.in -D OUTPUT=${MODBUS_GENERATED_DIR}/version.h
        -P ${MODBUS_DESCRIBE_SCRIPT}
    BYPRODUCTS ${MODBUS_GENERATED_DIR}/version.h
    COMMENT "" VERBATIM)

add_library(modbus_version INTERFACE)
target_include_directories(modbus_version INTERFACE ${MODBUS_GENERATED_DIR})
add_dependencies(modbus_version modbus_version_header)
