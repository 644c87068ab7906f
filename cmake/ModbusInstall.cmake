# What `cmake --install` puts where. The components are the Debian packages:
# library, kit, checker, dev (what host authors need), host (the bench host), quick.

include(CMakePackageConfigHelpers)

set(MODBUS_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/modbus_rtu_master)
set(MODBUS_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/modbus_rtu_master)

# modbus_compress(FILE RESULT): the same bytes for the same file, whenever it runs.
find_program(MODBUS_GZIP gzip REQUIRED)
function(modbus_compress file result)
    execute_process(COMMAND ${MODBUS_GZIP} -9 --no-name --stdout ${file} OUTPUT_FILE ${result} RESULT_VARIABLE status)
    if(status)
        message(FATAL_ERROR "Cannot compress ${file}")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()

# The Qt that users of package and pkg-config get with the driver.
if(MODBUS_QT_MAJOR EQUAL 4) # found by the file that the driver's build finds it by
    set(MODBUS_QT_DEPENDENCY "list(APPEND CMAKE_MODULE_PATH \${CMAKE_CURRENT_LIST_DIR})\nfind_dependency(ModbusQt4)")
    set(MODBUS_PKG_CONFIG_QT QtCore)
else()
    set(MODBUS_QT_DEPENDENCY "find_dependency(Qt${MODBUS_QT_MAJOR}Core)")
    set(MODBUS_PKG_CONFIG_QT Qt${MODBUS_QT_MAJOR}Core)
endif()

# modbus_pkg_config(NAME): installs NAME.pc, made from package/NAME.pc.in. Its prefix is
# relative to where the file is found, so that a moved tree still works.
file(RELATIVE_PATH MODBUS_PKG_CONFIG_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" MODBUS_PKG_CONFIG_TO_PREFIX ${MODBUS_PKG_CONFIG_TO_PREFIX})
function(modbus_pkg_config name)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/package/${name}.pc.in ${CMAKE_BINARY_DIR}/package/${name}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/package/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()

# --- library -----------------------------------------------------------------

install(TARGETS modbus_rtu_master
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
    NAMELINK_COMPONENT dev)

# --- kit ---------------------------------------------------------------------

# In sets of their own, and OPTIONAL: a panel's builder may have made the driver alone, or
# of the kit just the archive that is linked in.
if(TARGET modbus_rtu_host)
    install(TARGETS modbus_rtu_host EXPORT modbus_rtu_host
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT kit NAMELINK_COMPONENT dev OPTIONAL
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(TARGETS host_kit_static EXPORT modbus_rtu_host_static
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev OPTIONAL
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    foreach(kit modbus_rtu_host modbus_rtu_host_static)
        install(EXPORT ${kit} NAMESPACE modbus_rtu_master:: FILE ${kit}-targets.cmake
            DESTINATION ${MODBUS_INSTALL_CMAKEDIR} COMPONENT dev)
    endforeach()
    install(DIRECTORY kit/modbus_rtu_host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
    modbus_pkg_config(modbus_rtu_host)
endif()

# --- checker -----------------------------------------------------------------

# Beside the driver, which it loads; hosts name its file, nothing links it.
if(TARGET modbus_rtu_master_check)
    install(TARGETS modbus_rtu_master_check
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT checker NAMELINK_SKIP OPTIONAL)
    install(FILES checker/modbus_rtu_check.h DESTINATION ${MODBUS_INSTALL_INCLUDEDIR} COMPONENT dev)
endif()

# --- dev ---------------------------------------------------------------------

# Hosts load the library and link nothing; they need the headers and Qt core.
add_library(modbus_rtu_interface INTERFACE)
set_target_properties(modbus_rtu_interface PROPERTIES EXPORT_NAME interface)
target_include_directories(modbus_rtu_interface INTERFACE $<INSTALL_INTERFACE:${MODBUS_INSTALL_INCLUDEDIR}>)
target_link_libraries(modbus_rtu_interface INTERFACE ${MODBUS_QT_TARGET})
if(MODBUS_QT_MAJOR EQUAL 4)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/FindModbusQt4.cmake DESTINATION ${MODBUS_INSTALL_CMAKEDIR} COMPONENT dev)
endif()

install(FILES driver/modbus_rtu_records.h driver/modbus_rtu_interface.h
    DESTINATION ${MODBUS_INSTALL_INCLUDEDIR} COMPONENT dev)
install(TARGETS modbus_rtu_interface EXPORT modbus_rtu_master COMPONENT dev)
install(EXPORT modbus_rtu_master NAMESPACE modbus_rtu_master:: FILE modbus_rtu_master-targets.cmake
    DESTINATION ${MODBUS_INSTALL_CMAKEDIR} COMPONENT dev)

set(MODBUS_INSTALLED_LIBRARY ${CMAKE_INSTALL_LIBDIR}/libmodbus_rtu_master.so.${PROJECT_VERSION_MAJOR})
set(MODBUS_INSTALLED_CHECKER ${CMAKE_INSTALL_LIBDIR}/libmodbus_rtu_master_check.so.${PROJECT_VERSION_MAJOR})
set(MODBUS_INSTALLED_KIT ${CMAKE_INSTALL_LIBDIR}/libmodbus_rtu_host.so.${PROJECT_VERSION_MAJOR})
set(MODBUS_INSTALLED_KIT_ARCHIVE ${CMAKE_INSTALL_LIBDIR}/libmodbus_rtu_host.a)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/package/modbus_rtu_master-config.cmake.in
    ${CMAKE_BINARY_DIR}/package/modbus_rtu_master-config.cmake
    INSTALL_DESTINATION ${MODBUS_INSTALL_CMAKEDIR}
    PATH_VARS MODBUS_INSTALLED_LIBRARY MODBUS_INSTALLED_CHECKER MODBUS_INSTALLED_KIT MODBUS_INSTALLED_KIT_ARCHIVE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/modbus_rtu_master-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/package/modbus_rtu_master-config.cmake
    ${CMAKE_BINARY_DIR}/package/modbus_rtu_master-config-version.cmake
    DESTINATION ${MODBUS_INSTALL_CMAKEDIR} COMPONENT dev)
modbus_pkg_config(modbus_rtu_master)
set(MODBUS_INSTALL_DEV_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/libmodbus-rtu-master-dev)
install(DIRECTORY docs/examples/ DESTINATION ${MODBUS_INSTALL_DEV_DOCDIR}/examples COMPONENT dev)
install(FILES docs/integrating-a-host.md docs/address-language.md docs/contract-checker.md docs/host-kit.md docs/line-behaviour.md
    DESTINATION ${MODBUS_INSTALL_DEV_DOCDIR} COMPONENT dev)

# --- host --------------------------------------------------------------------

# install_program(TARGET): with its manual page.
function(install_program target)
    modbus_compress(${PROJECT_SOURCE_DIR}/docs/${target}.1 ${CMAKE_BINARY_DIR}/package/${target}.1.gz)
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host)
    install(FILES ${CMAKE_BINARY_DIR}/package/${target}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host)
endfunction()

if(TARGET rtuhost)
    install_program(rtuhost)
endif()
if(TARGET rtu_demo)
    install_program(rtu_demo)
    install(DIRECTORY host/demo/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/rtuhost/demo COMPONENT host
        FILES_MATCHING PATTERN *.sim PATTERN *.csv)
endif()
# A Qt 4 may lie anywhere: the programs look for it where it was found, here and when
# installed. A run path that is rewritten when installed ends with an empty entry,
# which stands for the working directory.
foreach(program rtuhost rtu_demo)
    if(TARGET ${program} AND MODBUS_QT_MAJOR EQUAL 4)
        set_target_properties(${program} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH_USE_LINK_PATH ON)
    endif()
endforeach()
