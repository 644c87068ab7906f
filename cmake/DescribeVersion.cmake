# cmake -D SOURCE_DIR= -D FALLBACK= -D TEMPLATE= -D OUTPUT= -P DescribeVersion.cmake
# Writes OUTPUT from TEMPLATE with the version of the tree in SOURCE_DIR.

find_program(GIT git)
set(described "")
if(GIT AND EXISTS ${SOURCE_DIR}/.git)
    execute_process(COMMAND ${GIT} describe --tags --match v[0-9]* --dirty
        WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_VARIABLE described OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT described)
        execute_process(COMMAND ${GIT} describe --always --dirty
            WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        if(commit)
            set(described "${FALLBACK}-g${commit}")
        endif()
    endif()
endif()
if(NOT described)
    set(described ${FALLBACK})
endif()
string(REGEX REPLACE "^v" "" MODBUS_RTU_VERSION_TEXT ${described})
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
