# Boost.Math is headers only, so the ones of the building machine serve a cross-build. They are reached
# through a folder of their own: the rest of that machine's /usr/include must stay out of sight.
set(CORVANE_BOOST_HEADERS /usr/include CACHE PATH "Folder that holds boost/")
if(NOT EXISTS ${CORVANE_BOOST_HEADERS}/boost/version.hpp)
    message(FATAL_ERROR "No boost/version.hpp in ${CORVANE_BOOST_HEADERS}: install libboost-dev or set CORVANE_BOOST_HEADERS")
endif()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
file(CREATE_LINK ${CORVANE_BOOST_HEADERS}/boost ${CMAKE_BINARY_DIR}/headers/boost SYMBOLIC)
add_library(Boost::headers INTERFACE IMPORTED)
target_include_directories(Boost::headers SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)
