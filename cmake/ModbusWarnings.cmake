# modbus_warnings(target): the warnings that our own code is held to.
function(modbus_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
    if(MODBUS_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
