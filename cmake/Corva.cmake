# corva_library(NAME DEPS ...): the library corva_NAME from every .cpp in
# src/NAME (not its subfolders), so that adding a file needs no edit here.
function(corva_library name)
    cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    if(sources)
        add_library(corva_${name} STATIC ${sources})
        target_include_directories(corva_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(corva_${name} PUBLIC ${ARG_DEPS})
        target_compile_options(corva_${name} PRIVATE ${CORVA_FUZZ_COVERAGE})
    else()
        add_library(corva_${name} INTERFACE)
        target_include_directories(corva_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(corva_${name} INTERFACE ${ARG_DEPS})
    endif()
endfunction()

# corva_test(NAME DEPS ...): one GoogleTest executable test_NAME from every .cpp
# in tests/NAME, each test registered with CTest.
function(corva_test name)
    cmake_parse_arguments(ARG "" "" "DEPS;LABELS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(test_${name} ${sources})
    target_link_libraries(test_${name} PRIVATE ${ARG_DEPS} corva_test_support GTest::gtest)
    target_precompile_headers(test_${name} REUSE_FROM corva_test_support)
    gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${name};${ARG_LABELS}"
        ENVIRONMENT "CORVA_SOURCE_DIR=${PROJECT_SOURCE_DIR};QT_QPA_PLATFORM=offscreen")
endfunction()
