# Cost of the driver's operations, beside libmodbus and Qt's serial-bus module on
# the same bytes.

find_package(benchmark REQUIRED)
find_library(LIBMODBUS_LIBRARY modbus REQUIRED)

add_library(bench_scenarios STATIC plant_keys.cpp polled_blocks.cpp poll_scenarios.cpp peer_scenarios.cpp)
target_link_libraries(bench_scenarios PUBLIC modbus_rtu_master test_support PRIVATE ${LIBMODBUS_LIBRARY})

# The peer from Qt is measured where it is at hand.
find_package(Qt${MODBUS_QT_MAJOR}SerialBus QUIET CONFIG)
if(Qt${MODBUS_QT_MAJOR}SerialBus_FOUND)
    target_sources(bench_scenarios PRIVATE qt_serialbus_scenarios.cpp)
    target_compile_definitions(bench_scenarios PRIVATE MODBUS_BENCH_QT_SERIALBUS)
    target_link_libraries(bench_scenarios PRIVATE Qt${MODBUS_QT_MAJOR}::SerialBus)
endif()

add_executable(scenario_steps scenario_steps.cpp)
target_link_libraries(scenario_steps PRIVATE bench_scenarios)

add_executable(driver_bench driver_bench.cpp)
target_link_libraries(driver_bench PRIVATE bench_scenarios benchmark::benchmark)

add_executable(area_memory area_memory.cpp)
target_link_libraries(area_memory PRIVATE bench_scenarios)

foreach(program bench_scenarios scenario_steps driver_bench area_memory)
    set_target_properties(${program} PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON)
    modbus_warnings(${program})
endforeach()
