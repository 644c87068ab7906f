# What the cross-builds for Debian's machines share: they build against the headers
# and libraries in MODBUS_MACHINE_ROOT (scripts/make-machine-root) and run what they
# build under an emulator. The file that includes this one has set
#
#   MODBUS_MACHINE      as Debian calls it; build/roots/ has its root unless told otherwise
#   MODBUS_TRIPLET      of its compiler and libraries
#   MODBUS_EMULATOR     of qemu-user
#
# For a vendor's SDK, name its compiler and sysroot in a copy of these two files.

set(CMAKE_SYSTEM_NAME Linux)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MODBUS_MACHINE_ROOT)
if(NOT MODBUS_MACHINE_ROOT)
    set(MODBUS_MACHINE_ROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/roots/${MODBUS_MACHINE})
endif()
get_filename_component(MODBUS_MACHINE_ROOT ${MODBUS_MACHINE_ROOT} ABSOLUTE)

set(CMAKE_C_COMPILER ${MODBUS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${MODBUS_TRIPLET}-g++)
set(CMAKE_SYSROOT ${MODBUS_MACHINE_ROOT})
set(CMAKE_FIND_ROOT_PATH ${MODBUS_MACHINE_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian names the folders of i386 otherwise than its compiler.
if(NOT CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_LIBRARY_ARCHITECTURE ${MODBUS_TRIPLET})
endif()
set(ENV{PKG_CONFIG_LIBDIR}
    ${MODBUS_MACHINE_ROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${MODBUS_MACHINE_ROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${MODBUS_MACHINE_ROOT})

# Programs find their loader and libraries in the root, not on this machine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${MODBUS_EMULATOR};-L;${MODBUS_MACHINE_ROOT})
