# Debian packages of the components:
#
#   cmake --preset package && cmake --build --preset package && (cd build/package && cpack)
#   with --preset armhf or arm64: the same for that machine
#
# CPack's folders have modes by the mask of its user: pack with umask 022.

set(MODBUS_PACKAGE_MAINTAINER "modbus_rtu_master maintainers <maintainers@modbus-rtu-master.invalid>"
    CACHE STRING "Maintainer of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${MODBUS_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Each package's description brings its own summary line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(MODBUS_PACKAGE_ABOUT "The driver validates addresses, plans block reads, builds and judges
frames, keeps the values and reports changes; the host that loads it owns
the serial line.")

# The packages that programs and libraries need cannot be looked up in a folder of files
# for another machine. They are those of this one's own; the check compares.
set(MODBUS_RUNTIME "libc6 (>= 2.34)" "libgcc-s1 (>= 3.5)" "libstdc++6 (>= 11)" "libqt5core5a (>= 5.15.1)")

# modbus_package(COMPONENT PACKAGE SECTION SUMMARY TEXT [DEPENDS package...]
#                [LIBRARY name] [RUNTIME package...]): a package of what is installed as COMPONENT.
#
#   LIBRARY    the shared library in it, without ending: others learn which package to depend on
#   RUNTIME    it has programs or libraries; the packages are what they need when
#              this is built for another machine, here they are looked up
set(CPACK_COMPONENTS_ALL "")
macro(modbus_package component package section summary text)
    cmake_parse_arguments(_modbus "" "LIBRARY" "DEPENDS;RUNTIME" ${ARGN})
    string(TOUPPER ${component} _modbus_upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${_modbus_upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${_modbus_upper}_PACKAGE_SECTION ${section})
    set(CPACK_COMPONENT_${_modbus_upper}_DESCRIPTION "${summary}\n${MODBUS_PACKAGE_ABOUT}${text}")
    if(_modbus_RUNTIME AND CMAKE_CROSSCOMPILING)
        list(APPEND _modbus_DEPENDS ${_modbus_RUNTIME})
    elseif(_modbus_RUNTIME)
        set(CPACK_DEBIAN_${_modbus_upper}_PACKAGE_SHLIBDEPS ON)
    endif()
    list(JOIN _modbus_DEPENDS ", " CPACK_DEBIAN_${_modbus_upper}_PACKAGE_DEPENDS)
    if(_modbus_LIBRARY)
        set(_modbus_shlibs ${CMAKE_BINARY_DIR}/package/${component}/shlibs)
        file(WRITE ${_modbus_shlibs} "${_modbus_LIBRARY} ${PROJECT_VERSION_MAJOR} ${package} (>= ${PROJECT_VERSION})\n")
        set(CPACK_DEBIAN_${_modbus_upper}_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/package/triggers ${_modbus_shlibs})
        install(FILES ${PROJECT_SOURCE_DIR}/cmake/package/lintian-overrides
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides RENAME ${package} COMPONENT ${component})
    endif()
endmacro()

set(MODBUS_DRIVER_PACKAGE libmodbus-rtu-master${PROJECT_VERSION_MAJOR})
set(MODBUS_DRIVER_DEPENDENCY "${MODBUS_DRIVER_PACKAGE} (= ${PROJECT_VERSION})")
set(MODBUS_DEV_DEPENDENCIES ${MODBUS_DRIVER_DEPENDENCY})

modbus_package(library ${MODBUS_DRIVER_PACKAGE} libs "Modbus RTU master driver for operator panels" ""
    LIBRARY libmodbus_rtu_master RUNTIME ${MODBUS_RUNTIME})
if(TARGET modbus_rtu_host)
    modbus_package(kit libmodbus-rtu-host${PROJECT_VERSION_MAJOR} libs "Host kit for the Modbus RTU master driver"
        "\n\nThis library is a careful host around it: lines, tags, writes that end,\ntransfers, and stations that are silent."
        LIBRARY libmodbus_rtu_host DEPENDS ${MODBUS_DRIVER_DEPENDENCY} RUNTIME ${MODBUS_RUNTIME})
    list(APPEND MODBUS_DEV_DEPENDENCIES "libmodbus-rtu-host${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
endif()
if(TARGET modbus_rtu_master_check)
    modbus_package(checker libmodbus-rtu-master-check${PROJECT_VERSION_MAJOR} libs
        "Contract checker for hosts of the Modbus RTU master driver"
        "\n\nA host loads this library in the driver's place; it loads the driver, and tells\nwhat the host does against the contract."
        LIBRARY libmodbus_rtu_master_check DEPENDS ${MODBUS_DRIVER_DEPENDENCY} RUNTIME ${MODBUS_RUNTIME})
endif()
if(TARGET rtuhost)
    modbus_package(host rtuhost comm "Bench host for the Modbus RTU master driver"
        "\n\nThis package polls, reads and writes slaves from the command line, as a panel\ndoes, and simulates slaves."
        DEPENDS ${MODBUS_DRIVER_DEPENDENCY}
        RUNTIME ${MODBUS_RUNTIME} "libmodbus5 (>= 3.1.6)" "libncursesw6 (>= 6)" "libtinfo6 (>= 6)")
endif()
if(TARGET modbus_rtu_quick)
    modbus_package(quick ${MODBUS_QML_PACKAGE} libs "Qt Quick module for the Modbus RTU master driver"
        "\n\nThis package makes values of slaves properties of QML: import ModbusRtu. The\nhost kit and simulated slaves are inside."
        DEPENDS ${MODBUS_DRIVER_DEPENDENCY} RUNTIME ${MODBUS_RUNTIME} "libmodbus5 (>= 3.1.6)" "libqt5qml5 (>= 5.15.1)")
endif()
if(MODBUS_QT_MAJOR EQUAL 5)
    list(APPEND MODBUS_DEV_DEPENDENCIES qtbase5-dev)
else()
    list(APPEND MODBUS_DEV_DEPENDENCIES qt${MODBUS_QT_MAJOR}-base-dev)
endif()
modbus_package(dev libmodbus-rtu-master-dev libdevel "Modbus RTU master driver for operator panels (host development)"
    "\n\nThis package has the headers that hosts are built with, the host kit\nto be linked in, and the guide."
    DEPENDS ${MODBUS_DEV_DEPENDENCIES})
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${MODBUS_MACHINE})
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
