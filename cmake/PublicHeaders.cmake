# Installs the public headers under varnex3/: those that varnex3.h names, and what they include in turn. They include each
# other as varnex3/..., so that one folder on the search path is enough and no name meets one of the user's own.
#
#   source   the project's root
#   target   the folder for headers
cmake_policy(VERSION 3.22)
set(pending varnex3.h)
set(done)
while(pending)
    list(POP_FRONT pending header)
    list(APPEND done ${header})
    set(file ${source}/src/${header})
    if(header STREQUAL varnex3.h)
        set(file ${source}/cmake/varnex3.h)
    endif()
    file(READ ${file} text)
    string(REGEX REPLACE "#include \"([^\"]+)\"" "#include \"varnex3/\\1\"" text "${text}")
    file(WRITE ${target}/varnex3/${header} "${text}")
    file(STRINGS ${file} lines REGEX "^#include \"")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" name "${line}")
        if(NOT name IN_LIST done AND NOT name IN_LIST pending)
            list(APPEND pending ${name})
        endif()
    endforeach()
endwhile()
