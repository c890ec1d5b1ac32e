# Fails when a source file differs from what clang-format makes of it.
file(GLOB_RECURSE files ${ROOT}/src/*.h ${ROOT}/src/*.cpp ${ROOT}/tests/*.h ${ROOT}/tests/*.cpp
     ${ROOT}/bench/*.cpp ${ROOT}/bench/*.h ${ROOT}/fuzz/*.cpp)
execute_process(COMMAND ${CLANG_FORMAT} --dry-run --Werror ${files}
                RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "Unformatted files (run clang-format -i):\n${errors}")
endif()
