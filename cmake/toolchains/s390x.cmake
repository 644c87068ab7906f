# Debian s390x: big-endian, 64 bits. No panel has it; it shows that no byte order is taken for granted.
set(MODBUS_MACHINE s390x)
set(MODBUS_TRIPLET s390x-linux-gnu)
set(MODBUS_EMULATOR qemu-s390x)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-machine.cmake)
