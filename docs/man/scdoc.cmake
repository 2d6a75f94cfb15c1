# Runs scdoc on one page: scdoc reads its standard input and writes its
# standard output. A failed page leaves no output behind, so that the next
# build tries it again.
execute_process(COMMAND ${SCDOC}
    INPUT_FILE ${INPUT}
    OUTPUT_FILE ${OUTPUT}
    ERROR_VARIABLE error
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    file(REMOVE ${OUTPUT})
    message(FATAL_ERROR "scdoc failed on ${INPUT}: ${error}")
endif()
