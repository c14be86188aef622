# One static library per folder of src/, named corvane_<folder>.
#
# corvane_library(<folder> [RECURSE] [DEPENDS <folder>...] [PRIVATE <third-party target>...])
#   DEPENDS names folders on lower floors; PRIVATE libraries stay out of our own headers.

add_library(corvane_flags INTERFACE)
target_compile_features(corvane_flags INTERFACE cxx_std_20)
target_include_directories(corvane_flags INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/src)
target_compile_options(corvane_flags INTERFACE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Werror
    -ffp-contract=off
    $<$<BOOL:${WIN32}>:-fno-math-errno> # square roots by the instruction: the library function there rounds twice
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>) # false alarms on text + text
if(CORVANE_SANITIZE)
    target_compile_options(corvane_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_link_options(corvane_flags INTERFACE -fsanitize=address,undefined)
endif()
if(CORVANE_FUZZ)
    target_compile_options(corvane_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

function(corvane_target_name folder result)
    string(REPLACE "/" "_" name "corvane_${folder}")
    set(${result} ${name} PARENT_SCOPE)
endfunction()

function(corvane_library folder)
    cmake_parse_arguments(ARG "RECURSE" "" "DEPENDS;PRIVATE" ${ARGN})
    corvane_target_name(${folder} target)
    if(ARG_RECURSE)
        file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/${folder}/*.cpp)
    else()
        file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/src/${folder}/*.cpp)
    endif()
    if(sources)
        add_library(${target} STATIC ${sources})
        set_property(GLOBAL APPEND PROPERTY CORVANE_FLOORS ${target})
        set(scope PUBLIC)
    else()
        add_library(${target} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_link_libraries(${target} ${scope} corvane_flags)
    foreach(dependency IN LISTS ARG_DEPENDS)
        corvane_target_name(${dependency} name)
        target_link_libraries(${target} ${scope} ${name})
    endforeach()
    if(sources)
        target_link_libraries(${target} PRIVATE ${ARG_PRIVATE})
    endif()
endfunction()
