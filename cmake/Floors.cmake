# SPDX-License-Identifier: GPL-3.0-or-later
#
# A floor is one folder of src/ and one library. Its headers are reached as "<floor>/<header>.h"
# through a directory of its own that holds nothing but a link to that folder, so a floor sees only
# the floors that it links: an include that runs upward does not compile.

add_library(zelvane_options INTERFACE)
target_compile_options(zelvane_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wnull-dereference -Wimplicit-fallthrough -Werror
    # Conversions between sizes and ints are everywhere in FFmpeg's interface.
    -Wno-sign-conversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # False positives of GCC 12 inside its own library at -O2.
    target_compile_options(zelvane_options INTERFACE
        -Wno-null-dereference -Wno-maybe-uninitialized -Wno-restrict)
endif()
if(ZELVANE_SANITIZE)
    target_compile_options(zelvane_options INTERFACE
        -fsanitize=${ZELVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(zelvane_options INTERFACE -fsanitize=${ZELVANE_SANITIZE})
    # Lines are all that a report names. Not an option of the target: those come last, and the tests
    # choose otherwise.
    string(APPEND CMAKE_CXX_FLAGS_DEBUG " -O1 -g1")
    # For each program, as the linker would leave it out of a library: nobody refers to it.
    set(ZELVANE_SANITIZER_RULES "${CMAKE_SOURCE_DIR}/cmake/sanitizers.cpp")
endif()
# In a batch a source looks like a header, and its neighbours' names are in scope.
target_compile_options(zelvane_options INTERFACE
    "$<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-subobject-linkage;-Wno-shadow>")

# zelvane_floor(<folder below src> [QT] [LINKS <targets...>])
# Makes the target zelvane::<last part of the folder's name> of all sources in the folder.
function(zelvane_floor folder)
    cmake_parse_arguments(FLOOR "QT" "" "LINKS;PRIVATE_LINKS" ${ARGN})
    get_filename_component(name "${folder}" NAME)
    get_filename_component(parent "${folder}" DIRECTORY)
    set(door "${CMAKE_BINARY_DIR}/floors/${name}")
    file(MAKE_DIRECTORY "${door}/${parent}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/src/${folder}" "${door}/${folder}" SYMBOLIC)

    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        "${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp"
        "${CMAKE_SOURCE_DIR}/src/${folder}/*.c"
        "${CMAKE_SOURCE_DIR}/src/${folder}/*.h")
    if(NOT sources MATCHES "\\.(cpp|c)(;|$)")
        # A floor of headers alone.
        add_library(zelvane_${name} INTERFACE)
        add_library(zelvane::${name} ALIAS zelvane_${name})
        target_include_directories(zelvane_${name} INTERFACE "${door}")
        target_link_libraries(zelvane_${name} INTERFACE ${FLOOR_LINKS})
        return()
    endif()
    add_library(zelvane_${name} STATIC ${sources})
    add_library(zelvane::${name} ALIAS zelvane_${name})
    set_target_properties(zelvane_${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_include_directories(zelvane_${name} PUBLIC "${door}")
    target_link_libraries(zelvane_${name} PUBLIC ${FLOOR_LINKS}
        PRIVATE zelvane_options ${FLOOR_PRIVATE_LINKS})
    if(FLOOR_QT)
        set_target_properties(zelvane_${name} PROPERTIES AUTOMOC ON)
    endif()
endfunction()
