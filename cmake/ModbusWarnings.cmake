# modbus_warnings(target): the warnings that our own code is held to.
function(modbus_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
    if(MODBUS_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    # Merged sources see each other's names, and for gcc they are headers.
    if(CMAKE_UNITY_BUILD)
        target_compile_options(${target} PRIVATE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()
