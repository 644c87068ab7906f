# Cost of the driver's operations, beside libmodbus on the same bytes.

find_library(LIBMODBUS_LIBRARY modbus REQUIRED)

add_library(bench_scenarios STATIC poll_scenarios.cpp peer_scenarios.cpp replies.cpp)
set_target_properties(bench_scenarios PROPERTIES CXX_STANDARD 17)
target_include_directories(bench_scenarios PUBLIC ${CMAKE_SOURCE_DIR})
target_link_libraries(bench_scenarios PUBLIC modbus_rtu_master ModbusQt::Core PRIVATE ${LIBMODBUS_LIBRARY})
modbus_warnings(bench_scenarios)

add_executable(instruction_count instruction_count.cpp)
set_target_properties(instruction_count PROPERTIES CXX_STANDARD 17)
target_link_libraries(instruction_count PRIVATE bench_scenarios)
modbus_warnings(instruction_count)
