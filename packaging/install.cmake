# What `cmake --install` puts in place, by components; packages.cmake makes a Debian package of each.
# Included at the end of the root CMakeLists.txt.
include(CMakePackageConfigHelpers)
set(generated ${PROJECT_BINARY_DIR}/packaging)
set(ZUCHARSET_ZSH_COMPLETIONS_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Folder of completions for zsh, below the prefix")

# A library with its header and its pkg-config file.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
function(install_library target name component description)
    install(TARGETS ${target} LIBRARY COMPONENT ${component})
    foreach(level IN LISTS ZUCHARSET_HWCAPS)
        install(TARGETS ${target}_${level} LIBRARY
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/${level} COMPONENT ${component})
    endforeach()
    if(TARGET ${target}_static)
        install(TARGETS ${target}_static ARCHIVE COMPONENT development)
    endif()
    install(FILES include/${name}.h TYPE INCLUDE COMPONENT development)
    configure_file(packaging/library.pc.in ${generated}/${name}.pc @ONLY)
    install(FILES ${generated}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

install_library(zucharset_lib zucharset runtime "${PROJECT_DESCRIPTION}")
install_library(zutext_lib zutext text "Text of unknown encoding to UTF-8, with an account of what is lost")

# The stand-in stands apart, so that a player's own utility library can take its place.
install(TARGETS vemora_utils LIBRARY COMPONENT standin)
install(FILES platform/vemora_utils.h TYPE INCLUDE COMPONENT standin_development)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zucharset)
configure_package_config_file(cmake/zucharset-config.cmake.in ${generated}/zucharset-config.cmake
    INSTALL_DESTINATION ${config_dir}
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${generated}/zucharset-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${generated}/zucharset-config.cmake ${generated}/zucharset-config-version.cmake
    DESTINATION ${config_dir} COMPONENT development)

if(TARGET zucharset_cli)
    # A copied installation stays usable: the command finds its libraries by its own place, in the build folder too.
    # The one run path everywhere, since the one that CMake rewrites is padded with empty entries.
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(zucharset_cli PROPERTIES
        BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN;$ORIGIN/${bin_to_lib}")
    install(TARGETS zucharset_cli RUNTIME COMPONENT command)
    install(FILES man/zucharset.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command)
    install(FILES completions/zucharset.bash RENAME zucharset
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT command)
    install(FILES completions/zucharset.zsh RENAME _zucharset
        DESTINATION ${ZUCHARSET_ZSH_COMPLETIONS_DIR} COMPONENT command)
    install(FILES integrations/mpv/zucharset.lua DESTINATION ${CMAKE_INSTALL_DATADIR}/zucharset/mpv COMPONENT mpv)
endif()

if(PROJECT_IS_TOP_LEVEL)
    include(${PROJECT_SOURCE_DIR}/python/install.cmake)
    include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
endif()
