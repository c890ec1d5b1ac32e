# ASan and UBSan for CORVA_SANITIZE and CORVA_FUZZ. The fuzz build also gives
# the logic libraries coverage instrumentation (corva_library), so libFuzzer
# sees the parsers' own branches and not only the target file's; the windows,
# the command line, Qt's platform and the tests are left without it, as no
# target reaches them. Only the fuzz executables link the fuzzer's main, so the
# unit tests of the same build run as ordinary programs.
if(NOT (CORVA_SANITIZE OR CORVA_FUZZ))
    return()
endif()
set(corva_sanitizers address,undefined)
if(CORVA_FUZZ AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(CORVA_FUZZ_COVERAGE -fsanitize=fuzzer-no-link)
endif()
# A finding stops the run: UBSan's reports would otherwise scroll past.
add_compile_options(-fsanitize=${corva_sanitizers} -fno-sanitize-recover=undefined
    -fno-omit-frame-pointer)
add_link_options(-fsanitize=${corva_sanitizers})
