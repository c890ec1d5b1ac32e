# Runs a command in a folder and fails unless its standard output equals a file
# byte for byte: the JSON of corva parse is read by scripts, so its shape is fixed.
execute_process(COMMAND ${COMMAND} ${ARGS} WORKING_DIRECTORY ${WORKDIR}
    OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "exit code ${rc}")
endif()
file(READ ${EXPECTED} expected)
if(NOT out STREQUAL expected)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/actual-output.txt "${out}")
    message(FATAL_ERROR "output differs from ${EXPECTED}; see ${CMAKE_CURRENT_BINARY_DIR}/actual-output.txt")
endif()
