# SPDX-License-Identifier: Apache-2.0
# How an installed copy is found: by find_package(oru-kadi-authlist) and by pkg-config.

include(CMakePackageConfigHelpers)

# Sets variable to what a pkg-config file writes for an installation folder: below "${prefix}" unless it is absolute.
function(oru_pkg_config_path variable folder)
    if(NOT IS_ABSOLUTE ${folder})
        string(PREPEND folder "\${prefix}/")
    endif()
    set(${variable} ${folder} PARENT_SCOPE)
endfunction()

# Installs <target>.pc; further arguments name the libraries whose headers those of the target include. The prefix is
# written when it is installed and not derived from the file's place, because pkg-config puts the sysroot before it;
# pkg-config wants blanks in it escaped.
function(oru_install_pkg_config target description)
    set(name ${target})
    list(JOIN ARGN ", " requires)
    set(prefix "@prefix@")
    oru_pkg_config_path(libdir ${CMAKE_INSTALL_LIBDIR})
    oru_pkg_config_path(includedir ${CMAKE_INSTALL_INCLUDEDIR})
    set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${file}.in @ONLY)
    install(CODE "
        get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
        string(REPLACE [[ ]] [[\\ ]] prefix \"\${prefix}\")
        configure_file([[${file}.in]] [[${file}]] @ONLY)")
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

# Installs the package of all targets that oru_configure_library made.
function(oru_install_package_config)
    set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/oru-kadi-authlist)
    set(config ${PROJECT_BINARY_DIR}/oru-kadi-authlist-config.cmake)
    set(version ${PROJECT_BINARY_DIR}/oru-kadi-authlist-config-version.cmake)
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/oru-kadi-authlist-config.cmake.in ${config}
        INSTALL_DESTINATION ${folder} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${version} COMPATIBILITY SameMajorVersion)
    install(FILES ${config} ${version} DESTINATION ${folder})
    install(EXPORT oru-kadi-authlist-targets NAMESPACE oru:: DESTINATION ${folder})
endfunction()
