# SPDX-License-Identifier: GPL-3.0-or-later
#
# A layer is one folder of src/ and one library. src/layers.txt lists the layers and what each may
# include. Headers are included as "<layer>/<header>.h". The header directory of a layer contains only
# a link to its folder, so that an include of a layer that is not linked does not compile.

add_library(zelvane_options INTERFACE)
target_compile_options(zelvane_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wnull-dereference -Wimplicit-fallthrough -Werror
    # FFmpeg's interface mixes sizes and ints everywhere.
    -Wno-sign-conversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports false positives in its own library at -O2.
    target_compile_options(zelvane_options INTERFACE
        -Wno-null-dereference -Wno-maybe-uninitialized -Wno-restrict)
endif()
if(ZELVANE_SANITIZE)
    target_compile_options(zelvane_options INTERFACE
        -fsanitize=${ZELVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(zelvane_options INTERFACE -fsanitize=${ZELVANE_SANITIZE})
    # Reports need only line numbers. A target option would override the options of the tests.
    string(APPEND CMAKE_CXX_FLAGS_DEBUG " -O1 -g1")
    # A source of each program: no symbol refers to it, so the linker would drop it from a library.
    set(ZELVANE_SANITIZER_RULES "${CMAKE_SOURCE_DIR}/cmake/sanitizers.cpp")
endif()
# In a unity build a source looks like a header, and names of other sources are in scope.
target_compile_options(zelvane_options INTERFACE
    "$<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-subobject-linkage;-Wno-shadow>")

# Sets `result` to the targets of the layers that `folder` includes, by its line in src/layers.txt.
function(zelvane_included_layers folder result)
    set(list "${CMAKE_SOURCE_DIR}/src/layers.txt")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
    file(STRINGS "${list}" line REGEX "^${folder}:")
    if(NOT line)
        message(FATAL_ERROR "${folder} is not in src/layers.txt")
    endif()
    string(REGEX MATCHALL "[a-z_/]+" layers "${line}")
    list(POP_FRONT layers)
    set(targets)
    foreach(layer IN LISTS layers)
        get_filename_component(name "${layer}" NAME)
        if(NOT TARGET zelvane::${name})
            message(FATAL_ERROR "${folder} includes ${layer}, which is not below it")
        endif()
        list(APPEND targets zelvane::${name})
    endforeach()
    set(${result} ${targets} PARENT_SCOPE)
endfunction()

# zelvane_layer(<folder below src> [QT] [LINKS <targets...>] [PRIVATE_LINKS <targets...>])
# Makes the target zelvane::<last part of the folder's name> of all sources in the folder. It links
# the layers that it includes; LINKS and PRIVATE_LINKS name what else it needs. QT runs moc and rcc.
function(zelvane_layer folder)
    cmake_parse_arguments(LAYER "QT" "" "LINKS;PRIVATE_LINKS" ${ARGN})
    zelvane_included_layers("${folder}" included)
    get_filename_component(name "${folder}" NAME)
    get_filename_component(parent "${folder}" DIRECTORY)
    set(headers "${CMAKE_BINARY_DIR}/headers/${name}")
    file(MAKE_DIRECTORY "${headers}/${parent}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/src/${folder}" "${headers}/${folder}" SYMBOLIC)

    file(GLOB_RECURSE sources CONFIGURE_DEPENDS
        "${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp" "${CMAKE_SOURCE_DIR}/src/${folder}/*.h"
        "${CMAKE_SOURCE_DIR}/src/${folder}/*.qrc")
    add_library(zelvane_${name} STATIC ${sources})
    add_library(zelvane::${name} ALIAS zelvane_${name})
    target_include_directories(zelvane_${name} PUBLIC "${headers}")
    target_link_libraries(zelvane_${name} PUBLIC ${included} ${LAYER_LINKS}
        PRIVATE zelvane_options ${LAYER_PRIVATE_LINKS})
    if(LAYER_QT)
        set_target_properties(zelvane_${name} PROPERTIES AUTOMOC ON AUTORCC ON)
    endif()
endfunction()
