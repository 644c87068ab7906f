# Finds the Qt core library that the driver is built against.
#
#   MODBUS_QT = auto | 4 | 5 | 6     auto: 5, else 6, else 4, whichever is found first;
#                                    4 where MODBUS_QT4_ROOT is given
#   MODBUS_QT4_ROOT                  see FindModbusQt4.cmake
#
# Defines ModbusQt::Core and what it stands for, MODBUS_QT_TARGET; MODBUS_QT_MAJOR,
# MODBUS_DRIVER_CXX_STANDARD and the oldest standard that a host can be built with,
# MODBUS_HOST_CXX_STANDARD.

set(MODBUS_QT auto CACHE STRING "Qt major version: auto, 4, 5 or 6")
set_property(CACHE MODBUS_QT PROPERTY STRINGS auto 4 5 6)
set(_modbus_qt ${MODBUS_QT})
if(MODBUS_QT STREQUAL auto AND MODBUS_QT4_ROOT)
    set(_modbus_qt 4)
endif()

set(MODBUS_QT_MAJOR "")
if(_modbus_qt MATCHES "^(auto|5)$")
    find_package(Qt5Core 5.6 QUIET CONFIG)
    if(Qt5Core_FOUND)
        set(MODBUS_QT_MAJOR 5)
        set(_modbus_qt_version ${Qt5Core_VERSION})
        set(MODBUS_QT_TARGET Qt5::Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR AND _modbus_qt MATCHES "^(auto|6)$")
    find_package(Qt6Core QUIET CONFIG)
    if(Qt6Core_FOUND)
        set(MODBUS_QT_MAJOR 6)
        set(_modbus_qt_version ${Qt6Core_VERSION})
        set(MODBUS_QT_TARGET Qt6::Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR AND _modbus_qt MATCHES "^(auto|4)$")
    find_package(ModbusQt4 QUIET MODULE)
    if(ModbusQt4_FOUND)
        set(MODBUS_QT_MAJOR 4)
        set(_modbus_qt_version "${ModbusQt4_VERSION} in ${MODBUS_QT4_CORE}")
        set(MODBUS_QT_TARGET ModbusQt4::Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR)
    message(FATAL_ERROR "No Qt core library found for MODBUS_QT=${MODBUS_QT} MODBUS_QT4_ROOT=${MODBUS_QT4_ROOT}. "
        "Install qtbase5-dev or qt6-base-dev, or name a Qt 4 prefix with -DMODBUS_QT4_ROOT=...")
endif()
message(STATUS "Building against Qt ${_modbus_qt_version} (MODBUS_QT=${MODBUS_QT})")

add_library(ModbusQt_Core INTERFACE)
add_library(ModbusQt::Core ALIAS ModbusQt_Core)
target_link_libraries(ModbusQt_Core INTERFACE ${MODBUS_QT_TARGET})

# Panel tool chains are old: C++11, and C++98 for the headers that hosts include,
# unless the Qt headers themselves want more.
set(MODBUS_DRIVER_CXX_STANDARD 11)
set(MODBUS_HOST_CXX_STANDARD 11)
if(MODBUS_QT_MAJOR EQUAL 4)
    set(MODBUS_HOST_CXX_STANDARD 98)
elseif(MODBUS_QT_MAJOR EQUAL 6)
    set(MODBUS_DRIVER_CXX_STANDARD 17)
    set(MODBUS_HOST_CXX_STANDARD 17)
endif()
