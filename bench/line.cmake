# How much of the line and of the CPU a poll loop takes: the driver's, and the
# same loop over libmodbus.

if(NOT TARGET host_kit_static) # the loop is the host kit's
    return()
endif()

find_library(LIBMODBUS_LIBRARY modbus REQUIRED)
find_path(LIBMODBUS_INCLUDE modbus.h PATH_SUFFIXES modbus REQUIRED)

add_library(line_bench_common STATIC line_bench_common.cpp punctuality.cpp)
set_target_properties(line_bench_common PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON)
target_link_libraries(line_bench_common PUBLIC host_kit_static)
modbus_warnings(line_bench_common)

foreach(program line_bench line_bench_libmodbus)
    add_executable(${program} ${program}.cpp)
    set_target_properties(${program} PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
    target_link_libraries(${program} PRIVATE line_bench_common)
    modbus_warnings(${program})
endforeach()
target_include_directories(line_bench_libmodbus SYSTEM PRIVATE ${LIBMODBUS_INCLUDE})
target_link_libraries(line_bench_libmodbus PRIVATE ${LIBMODBUS_LIBRARY})
add_dependencies(line_bench modbus_rtu_master)
