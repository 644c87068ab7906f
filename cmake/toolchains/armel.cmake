# Debian armel: 32-bit ARM, soft float, since ARMv5, as in panels of Qt 4's time.
set(MODBUS_MACHINE armel)
set(MODBUS_TRIPLET arm-linux-gnueabi)
set(MODBUS_EMULATOR qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # GCC 7 is history here
include(${CMAKE_CURRENT_LIST_DIR}/debian-machine.cmake)
