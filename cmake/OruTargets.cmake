# SPDX-License-Identifier: Apache-2.0
# What every target of this project has in common: the language, hidden symbols, warnings, sanitizers.

set(ORU_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target, empty for none")
option(ORU_WARNINGS_AS_ERRORS "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})

function(oru_configure_target target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    # Where time_t and off_t have 32 bits unless told otherwise. No public header mentions either.
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    endif()
    # GCC 12 sees overlapping copies in its own std::string concatenation (GCC bug 105651): no -Wrestrict there.
    # -Wpsabi remarks on Arm what changed in GCC 7: nothing here was built with an older one.
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
        -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
        "$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-psabi>"
        $<$<BOOL:${ORU_WARNINGS_AS_ERRORS}>:-Werror>)
    if(ORU_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${ORU_SANITIZE} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ORU_SANITIZE})
    endif()
endfunction()

# A shared library whose public headers stand in include_dir.
function(oru_configure_library target include_dir)
    oru_configure_target(${target})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${include_dir}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_options(${target} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/oru-exports.map)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/oru-exports.map)
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    if(NOT ORU_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    string(REGEX REPLACE "^oru-" "" export_name ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${export_name})
    install(TARGETS ${target} EXPORT oru-kadi-authlist-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(DIRECTORY ${include_dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endfunction()

# Lets target, which is installed in folder, find the libraries under any prefix; CMake's own variables come first.
function(oru_set_install_rpath target folder)
    if(NOT DEFINED CMAKE_INSTALL_RPATH)
        file(RELATIVE_PATH libraries ${folder} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN/${libraries})
    endif()
endfunction()
