# What tests, benchmarks and fuzz targets share: one check sum, one hand-written slave, one
# memory of a host. It needs no driver and no test framework.

# support_library(NAME)
function(support_library name)
    set(folder ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
    add_library(${name} STATIC ${folder}/records.cpp ${folder}/rtu_frames.cpp ${folder}/scripted_slave.cpp)
    set_target_properties(${name} PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON)
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/driver ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${name} PUBLIC ModbusQt::Core)
    modbus_warnings(${name})
endfunction()
