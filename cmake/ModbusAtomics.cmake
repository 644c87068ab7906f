# Old machines have no instructions for atomic operations on 64 bits; there the
# compiler's library does them. Whoever links Threads::Threads gets it with them.

include(CheckCXXSourceCompiles)
find_package(Threads REQUIRED)

set(_modbus_atomic_program "
#include <atomic>
std::atomic<long long> total(0);
int main() { return static_cast<int>(total.fetch_add(1)); }
")
check_cxx_source_compiles("${_modbus_atomic_program}" MODBUS_ATOMICS_BUILT_IN)
if(NOT MODBUS_ATOMICS_BUILT_IN)
    set(CMAKE_REQUIRED_LIBRARIES atomic)
    check_cxx_source_compiles("${_modbus_atomic_program}" MODBUS_ATOMICS_IN_LIBRARY)
    unset(CMAKE_REQUIRED_LIBRARIES)
    if(NOT MODBUS_ATOMICS_IN_LIBRARY)
        message(FATAL_ERROR "This compiler has no atomic operations on 64 bits, and no libatomic either.")
    endif()
    set_property(TARGET Threads::Threads APPEND PROPERTY INTERFACE_LINK_LIBRARIES atomic)
endif()
