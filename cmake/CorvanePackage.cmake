# What `cmake --install` puts on a machine, and the Debian package made of it:
#
#   bin/corvane                               the program
#   lib/libvarnex3.a, include/varnex3/        the library: all floors in one archive, its public headers
#   lib/cmake/Corvane/, lib/pkgconfig/        find_package(Corvane), target Corvane::varnex3; varnex3.pc
#   share/doc/corvane/                        documents and examples
#   share/bash-completion/, share/zsh/        completion of command lines
#
# The library is static: there is no binary interface to keep, and the program stands alone.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/corvane)

# One archive of what the floors compiled; nothing is compiled again.
get_property(floors GLOBAL PROPERTY CORVANE_FLOORS)
foreach(floor IN LISTS floors)
    list(APPEND objects $<TARGET_OBJECTS:${floor}>)
endforeach()
add_library(varnex3 STATIC ${objects})
set_target_properties(varnex3 PROPERTIES LINKER_LANGUAGE CXX)
target_compile_features(varnex3 INTERFACE cxx_std_20)
target_include_directories(varnex3 INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(varnex3 PRIVATE EXPAT::EXPAT PkgConfig::LIBZIP fmt::fmt)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Corvane)
install(TARGETS corvane varnex3 EXPORT CorvaneTargets)
install(EXPORT CorvaneTargets NAMESPACE Corvane:: DESTINATION ${config_dir})
configure_package_config_file(cmake/CorvaneConfig.cmake.in CorvaneConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(CorvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CorvaneConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/CorvaneConfigVersion.cmake
    DESTINATION ${config_dir})
file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /) # the package may be moved
configure_file(cmake/varnex3.pc.in varnex3.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/varnex3.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(CODE "
    set(source ${CMAKE_CURRENT_SOURCE_DIR})
    set(target \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}\")
    include(${CMAKE_CURRENT_SOURCE_DIR}/cmake/PublicHeaders.cmake)")
# With --strip, programs lose their debug information; so shall the archive, ten times its size.
install(CODE "
    if(CMAKE_INSTALL_DO_STRIP)
        execute_process(COMMAND ${CMAKE_STRIP} --strip-debug
            \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libvarnex3.a\")
    endif()")

install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The completion scripts are the program's own output.
if(NOT CMAKE_CROSSCOMPILING)
    set(completion ${CMAKE_CURRENT_BINARY_DIR}/completion)
    file(MAKE_DIRECTORY ${completion})
    add_custom_command(OUTPUT ${completion}/corvane ${completion}/_corvane
        COMMAND corvane completion bash > ${completion}/corvane
        COMMAND corvane completion zsh > ${completion}/_corvane
        DEPENDS corvane VERBATIM)
    add_custom_target(completion ALL DEPENDS ${completion}/corvane ${completion}/_corvane)
    install(FILES ${completion}/corvane DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${completion}/_corvane DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvane)
set(CPACK_PACKAGE_CONTACT "The Corvane developers <corvane@localhost>")
set(CPACK_PACKAGE_DESCRIPTION "Optimizes, simulates and analyses design models in workbooks, and allocates their tolerances. \
Holds the program, the C++ library with its headers, documents and examples.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libexpat1-dev, libzip-dev, libfmt-dev") # to build with the library
include(CPack)
