# Finds the Qt core library that the driver is built against.
#
#   MODBUS_QT = auto | 4 | 5 | 6     auto: 5, else 6, else 4, whichever is found first
#   MODBUS_QT4_ROOT = prefix or sysroot of a Qt 4 core library (include/, lib/)
#
# Defines ModbusQt::Core, MODBUS_QT_MAJOR and MODBUS_DRIVER_CXX_STANDARD.

set(MODBUS_QT auto CACHE STRING "Qt major version: auto, 4, 5 or 6")
set_property(CACHE MODBUS_QT PROPERTY STRINGS auto 4 5 6)
set(MODBUS_QT4_ROOT "" CACHE PATH "Prefix or sysroot of a Qt 4 core library")

set(MODBUS_QT_MAJOR "")
if(MODBUS_QT MATCHES "^(auto|5)$")
    find_package(Qt5Core 5.6 QUIET CONFIG)
    if(Qt5Core_FOUND)
        set(MODBUS_QT_MAJOR 5)
        set(_modbus_qt_version ${Qt5Core_VERSION})
        set(_modbus_qt_target Qt5::Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR AND MODBUS_QT MATCHES "^(auto|6)$")
    find_package(Qt6Core QUIET CONFIG)
    if(Qt6Core_FOUND)
        set(MODBUS_QT_MAJOR 6)
        set(_modbus_qt_version ${Qt6Core_VERSION})
        set(_modbus_qt_target Qt6::Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR AND MODBUS_QT MATCHES "^(auto|4)$")
    find_path(MODBUS_QT4_INCLUDE QtCore/qglobal.h
        HINTS ${MODBUS_QT4_ROOT} PATH_SUFFIXES include include/qt4 usr/include/qt4)
    find_library(MODBUS_QT4_CORE NAMES QtCore
        HINTS ${MODBUS_QT4_ROOT} PATH_SUFFIXES lib usr/lib)
    if(MODBUS_QT4_INCLUDE AND MODBUS_QT4_CORE)
        set(MODBUS_QT_MAJOR 4)
        set(_modbus_qt_version "4 in ${MODBUS_QT4_CORE}")
        add_library(ModbusQt4Core UNKNOWN IMPORTED)
        set_target_properties(ModbusQt4Core PROPERTIES
            IMPORTED_LOCATION ${MODBUS_QT4_CORE}
            INTERFACE_INCLUDE_DIRECTORIES "${MODBUS_QT4_INCLUDE};${MODBUS_QT4_INCLUDE}/QtCore")
        set(_modbus_qt_target ModbusQt4Core)
    endif()
endif()
if(NOT MODBUS_QT_MAJOR)
    message(FATAL_ERROR "No Qt core library found for MODBUS_QT=${MODBUS_QT}. "
        "Install qtbase5-dev or qt6-base-dev, or name a Qt 4 prefix with -DMODBUS_QT4_ROOT=...")
endif()
message(STATUS "Building against Qt ${_modbus_qt_version} (MODBUS_QT=${MODBUS_QT})")

add_library(ModbusQt_Core INTERFACE)
add_library(ModbusQt::Core ALIAS ModbusQt_Core)
target_link_libraries(ModbusQt_Core INTERFACE ${_modbus_qt_target})

# Panel tool chains are old: C++11, unless the Qt headers themselves want more.
if(MODBUS_QT_MAJOR EQUAL 6)
    set(MODBUS_DRIVER_CXX_STANDARD 17)
else()
    set(MODBUS_DRIVER_CXX_STANDARD 11)
endif()
