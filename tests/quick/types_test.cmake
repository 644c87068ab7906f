# Compares plugins.qmltypes, which is kept by hand since a build for another machine cannot
# ask the module, with what the module says of itself. Where they differ, what it says is in RESULT.

execute_process(COMMAND ${DUMP} -nonrelocatable ModbusRtu 1.0
    OUTPUT_FILE ${RESULT} ERROR_VARIABLE error RESULT_VARIABLE status)
if(status)
    message(FATAL_ERROR "${error}")
endif()
execute_process(COMMAND diff -u ${KEPT} ${RESULT} RESULT_VARIABLE status)
if(status)
    message(FATAL_ERROR "The types have changed: copy ${RESULT} to ${KEPT}")
endif()
