# Debian packages of the components:
#
#   cmake --preset package && cmake --build --preset package && (cd build/package && cpack)
#   with --preset armhf or arm64: the same for that machine

set(MODBUS_PACKAGE_MAINTAINER "modbus_rtu_master maintainers <maintainers@modbus-rtu-master.invalid>"
    CACHE STRING "Maintainer of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev)
if(TARGET modbus_rtu_master_check)
    list(APPEND CPACK_COMPONENTS_ALL checker)
endif()
if(TARGET rtuhost)
    list(APPEND CPACK_COMPONENTS_ALL host)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Whatever mask the user has who makes the packages.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${MODBUS_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Each package's description brings its own summary line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(_modbus_about "The driver validates addresses, plans block reads, builds and judges
frames, keeps the values and reports changes; the host that loads it owns
the serial line.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libmodbus-rtu-master${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/package/triggers ${CMAKE_BINARY_DIR}/package/shlibs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Modbus RTU master driver for operator panels\n${_modbus_about}")
file(WRITE ${CMAKE_BINARY_DIR}/package/shlibs
    "libmodbus_rtu_master ${PROJECT_VERSION_MAJOR} ${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (>= ${PROJECT_VERSION})\n")

set(CPACK_DEBIAN_CHECKER_PACKAGE_NAME libmodbus-rtu-master-check${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_CHECKER_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CHECKER_PACKAGE_DEPENDS "libmodbus-rtu-master${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_CHECKER_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/package/triggers ${CMAKE_BINARY_DIR}/package/checker/shlibs)
file(WRITE ${CMAKE_BINARY_DIR}/package/checker/shlibs
    "libmodbus_rtu_master_check ${PROJECT_VERSION_MAJOR} ${CPACK_DEBIAN_CHECKER_PACKAGE_NAME} (>= ${PROJECT_VERSION})\n")
set(CPACK_COMPONENT_CHECKER_DESCRIPTION
    "Contract checker for hosts of the Modbus RTU master driver\n${_modbus_about}\n\nA host loads this library in the driver's place; it loads the driver, and tells\nwhat the host does against the contract.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmodbus-rtu-master-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "libmodbus-rtu-master${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), qt${MODBUS_QT_MAJOR}-base-dev")
string(REPLACE qt5-base-dev qtbase5-dev CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ${CPACK_DEBIAN_DEV_PACKAGE_DEPENDS})
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "Modbus RTU master driver for operator panels (host development)\n${_modbus_about}\n\nThis package has the headers that hosts are built with.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME rtuhost)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "libmodbus-rtu-master${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_HOST_DESCRIPTION
    "Bench host for the Modbus RTU master driver\n${_modbus_about}\n\nThis package polls, reads and writes slaves from the command line, as a panel\ndoes, and simulates slaves.")

if(CMAKE_CROSSCOMPILING)
    # The needed packages cannot be looked up in a folder of extracted files. They
    # are those of the same distribution's own architecture; the check compares.
    set(_modbus_runtime "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 11)")
    set(_modbus_qt_runtime "libqt5core5a (>= 5.15.1)")
    string(APPEND CPACK_DEBIAN_HOST_PACKAGE_DEPENDS
        ", ${_modbus_runtime}, ${_modbus_qt_runtime}, libmodbus5 (>= 3.1.6), libncursesw6 (>= 6), libtinfo6 (>= 6)")
    set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "${_modbus_runtime}, ${_modbus_qt_runtime}")
    string(APPEND CPACK_DEBIAN_CHECKER_PACKAGE_DEPENDS ", ${_modbus_runtime}, ${_modbus_qt_runtime}")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${MODBUS_MACHINE})
else()
    set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_CHECKER_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_HOST_PACKAGE_SHLIBDEPS ON)
endif()

# The date of the sources, so that building them twice gives the same package.
find_program(MODBUS_GIT git)
set(MODBUS_PACKAGE_SECONDS "")
if(MODBUS_GIT)
    execute_process(COMMAND ${MODBUS_GIT} -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct
        OUTPUT_VARIABLE MODBUS_PACKAGE_SECONDS OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT MODBUS_PACKAGE_SECONDS)
    string(TIMESTAMP MODBUS_PACKAGE_SECONDS "%s" UTC)
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date --utc --rfc-email --date=@${MODBUS_PACKAGE_SECONDS}
    OUTPUT_VARIABLE MODBUS_PACKAGE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
file(WRITE ${CMAKE_BINARY_DIR}/package/cpack.cmake "# The packages carry the date of the sources, not that of their making.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} \"${MODBUS_PACKAGE_SECONDS}\")
endif()
")
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/package/cpack.cmake)
configure_file(${CMAKE_CURRENT_LIST_DIR}/package/changelog.in ${CMAKE_BINARY_DIR}/package/changelog @ONLY)
modbus_compress(${CMAKE_BINARY_DIR}/package/changelog ${CMAKE_BINARY_DIR}/package/changelog.gz)

# Every package says who made it and what changed.
foreach(_component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${_component} _upper)
    set(_doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${_upper}_PACKAGE_NAME})
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/package/copyright DESTINATION ${_doc} COMPONENT ${_component})
    install(FILES ${CMAKE_BINARY_DIR}/package/changelog.gz DESTINATION ${_doc} COMPONENT ${_component})
endforeach()

include(CPack)
