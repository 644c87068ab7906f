# Cross-builds for Debian armhf (32-bit ARM, hard float) against the headers and
# libraries in MODBUS_ARM_ROOT, and runs what it builds under qemu-arm.
#
#   cmake --preset armhf -DMODBUS_ARM_ROOT=/path/to/root
#
# For a vendor's SDK, name its compiler and sysroot in a copy of this file.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MODBUS_ARM_ROOT)
if(NOT MODBUS_ARM_ROOT)
    set(MODBUS_ARM_ROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-root)
endif()
get_filename_component(MODBUS_ARM_ROOT ${MODBUS_ARM_ROOT} ABSOLUTE)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # GCC 7 is history here
set(CMAKE_SYSROOT ${MODBUS_ARM_ROOT})
set(CMAKE_FIND_ROOT_PATH ${MODBUS_ARM_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${MODBUS_ARM_ROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${MODBUS_ARM_ROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${MODBUS_ARM_ROOT})

# Programs find their loader and libraries in the root, not on this machine.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${MODBUS_ARM_ROOT})
