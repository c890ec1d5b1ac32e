cmake_minimum_required(VERSION 3.25)
# Keeps the logic behind src/platform. CHECK=qt: no Qt header outside
# src/platform/qt, src/ui and src/app. CHECK=os: no operating-system or OpenSSL
# header in a logic folder; those facilities are platform interfaces.
set(logic core message store pop3 smtp filters bayes contacts cycle tools tickets reminders
    updates localise instance)
list(JOIN logic "|" logicAlternatives)
# Files that still reach the system directly; each leaves this list when its
# use moves behind the platform.
set(waiting store/modMessageFiles.cpp)

file(GLOB_RECURSE files ${SRC}/*.h ${SRC}/*.cpp)
set(bad "")
foreach(f IN LISTS files)
    if(CHECK STREQUAL "qt")
        if(f MATCHES "/src/(platform/qt|ui|app)/")
            continue()
        endif()
        set(pattern "^[ \t]*#[ \t]*include[ \t]*<Q")
    else()
        if(NOT f MATCHES "/src/(${logicAlternatives})/")
            continue()
        endif()
        string(REGEX REPLACE "^.*/src/" "" relative "${f}")
        if(relative IN_LIST waiting)
            continue()
        endif()
        set(pattern
            "^[ \t]*#[ \t]*include[ \t]*<(unistd\\.h|fcntl\\.h|netdb\\.h|sys/|arpa/|netinet/|openssl/)")
    endif()
    file(STRINGS ${f} lines REGEX "${pattern}")
    if(lines)
        list(JOIN lines " " found)
        list(APPEND bad "${f}: ${found}")
    endif()
endforeach()
if(bad)
    list(JOIN bad "\n  " report)
    message(FATAL_ERROR "The logic includes what only the platform may:\n  ${report}")
endif()
