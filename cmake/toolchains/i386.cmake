# Debian i386: 32-bit PCs.
set(MODBUS_MACHINE i386)
set(MODBUS_TRIPLET i686-linux-gnu)
set(MODBUS_EMULATOR qemu-i386)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-machine.cmake)
