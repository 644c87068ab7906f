# MODBUS_SANITIZE: sanitizers for everything that is built, as in -fsanitize=...
set(MODBUS_SANITIZE "" CACHE STRING "Sanitizers, for example address,undefined or thread")
if(MODBUS_SANITIZE)
    add_compile_options(-fsanitize=${MODBUS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    # Files and lines for the reports: the rest of what a debugger asks for takes a sixth of the compiler's time.
    add_compile_options(-g1)
    # What is checked at every access costs half the time so.
    add_compile_options($<$<CONFIG:Debug>:-Og>)
    add_link_options(-fsanitize=${MODBUS_SANITIZE})
endif()
