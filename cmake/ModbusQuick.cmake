# Qt Quick of the Qt that the driver is built against, and where QML modules belong.

if(MODBUS_QT_MAJOR LESS 5)
    message(FATAL_ERROR "The Qt Quick module needs Qt 5.15 or Qt 6")
endif()
find_package(Qt${MODBUS_QT_MAJOR}Qml 5.15 REQUIRED CONFIG)
find_package(Qt${MODBUS_QT_MAJOR}Quick 5.15 REQUIRED CONFIG)

# The import path of the build folder.
set(MODBUS_QML_FOLDER ${CMAKE_BINARY_DIR}/qml)

set(MODBUS_INSTALL_QMLDIR ${CMAKE_INSTALL_LIBDIR}/qt${MODBUS_QT_MAJOR}/qml
    CACHE STRING "Folder of QML modules, below the prefix")

# Named as Debian names the modules of each Qt.
set(MODBUS_QML_PACKAGE qml-module-modbusrtu)
if(NOT MODBUS_QT_MAJOR EQUAL 5)
    set(MODBUS_QML_PACKAGE qml${MODBUS_QT_MAJOR}-module-modbusrtu)
endif()
