# Debian armhf: 32-bit ARM, hard float, since ARMv7.
set(MODBUS_MACHINE armhf)
set(MODBUS_TRIPLET arm-linux-gnueabihf)
set(MODBUS_EMULATOR qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # GCC 7 is history here
include(${CMAKE_CURRENT_LIST_DIR}/debian-machine.cmake)
