# Finds the core library of Qt 4, which comes without a CMake package of its own.
# The driver's build uses it, and so does the installed package of a driver that
# was built for Qt 4.
#
#   MODBUS_QT4_ROOT = prefix or sysroot with include/ or usr/include/qt4/, and lib/
#                     or usr/lib/ in it; empty: where the compiler looks anyway
#
# Defines ModbusQt4_FOUND, ModbusQt4_VERSION and the target ModbusQt4::Core.

set(MODBUS_QT4_ROOT "" CACHE PATH "Prefix or sysroot of a Qt 4 core library")

# Another root is another Qt: what was found in the last one is forgotten.
if(DEFINED MODBUS_QT4_SEARCHED AND NOT MODBUS_QT4_SEARCHED STREQUAL MODBUS_QT4_ROOT)
    unset(MODBUS_QT4_INCLUDE CACHE)
    unset(MODBUS_QT4_CORE CACHE)
endif()
set(MODBUS_QT4_SEARCHED "${MODBUS_QT4_ROOT}" CACHE INTERNAL "Root of the last search for Qt 4")

# A root is named as it is on this machine, inside the sysroot of a cross-build or
# beside it: a tool-chain file that confines searches to the sysroot must not hide
# it, and no Qt from elsewhere may take its place.
set(_modbus_qt4_where)
if(MODBUS_QT4_ROOT)
    set(_modbus_qt4_where PATHS ${MODBUS_QT4_ROOT} NO_DEFAULT_PATH CMAKE_FIND_ROOT_PATH_BOTH)
endif()
find_path(MODBUS_QT4_INCLUDE QtCore/qglobal.h ${_modbus_qt4_where}
    PATH_SUFFIXES include include/qt4 usr/include/qt4 usr/include qt4)
find_library(MODBUS_QT4_CORE NAMES QtCore ${_modbus_qt4_where}
    PATH_SUFFIXES lib usr/lib lib/${CMAKE_LIBRARY_ARCHITECTURE} usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})

# Later versions have headers of the same name, which do not say their version.
set(ModbusQt4_VERSION "")
if(MODBUS_QT4_INCLUDE)
    file(STRINGS ${MODBUS_QT4_INCLUDE}/QtCore/qglobal.h _modbus_qt4_line REGEX "define +QT_VERSION_STR +\"4\\.")
    if(_modbus_qt4_line MATCHES "\"([0-9.]+)\"")
        set(ModbusQt4_VERSION ${CMAKE_MATCH_1})
    endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ModbusQt4
    REQUIRED_VARS MODBUS_QT4_CORE MODBUS_QT4_INCLUDE ModbusQt4_VERSION VERSION_VAR ModbusQt4_VERSION
    REASON_FAILURE_MESSAGE "MODBUS_QT4_ROOT=${MODBUS_QT4_ROOT}")

if(ModbusQt4_FOUND AND NOT TARGET ModbusQt4::Core)
    add_library(ModbusQt4::Core UNKNOWN IMPORTED)
    # Without QT_NO_DEBUG every access to a list carries an assertion that prints and aborts.
    set_target_properties(ModbusQt4::Core PROPERTIES
        IMPORTED_LOCATION ${MODBUS_QT4_CORE}
        INTERFACE_INCLUDE_DIRECTORIES "${MODBUS_QT4_INCLUDE};${MODBUS_QT4_INCLUDE}/QtCore"
        INTERFACE_COMPILE_DEFINITIONS $<$<NOT:$<CONFIG:Debug>>:QT_NO_DEBUG>)
endif()
