# Debian arm64: 64-bit ARM, as in panels of today.
set(MODBUS_MACHINE arm64)
set(MODBUS_TRIPLET aarch64-linux-gnu)
set(MODBUS_EMULATOR qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-machine.cmake)
