# MODBUS_HARDEN: as Debian hardens what it distributes. Whoever builds for a panel
# decides alone; the packages are always built so.
option(MODBUS_HARDEN "Compile and link as Debian hardens its packages" OFF)
if(MODBUS_HARDEN)
    add_compile_options(-fstack-protector-strong)
    add_compile_options(-Wformat -Werror=format-security)
    add_compile_definitions(_FORTIFY_SOURCE=2)
    add_link_options(-Wl,-z,relro -Wl,-z,now)
    # Nothing in a program tells in which folder it was built.
    add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()
