# What `cmake --install` puts in place, the packages that CPack makes of it, the examples and the reference.
# Included at the end of the root CMakeLists.txt.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# --- Installation ---
# Four components. The stand-in stands apart, so that a player's own utility library can take its place.
#   runtime      libzucharset.so
#   standin      libvemora_utils.so and its header
#   development  header, CMake package, pkg-config file
#   command      zucharset and its manual page

# A copied installation stays usable: each program and library finds its libraries by its own place.
file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(zucharset_lib PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS zucharset_lib LIBRARY COMPONENT runtime)
install(TARGETS vemora_utils LIBRARY COMPONENT standin)
install(FILES platform/vemora_utils.h TYPE INCLUDE COMPONENT standin)
install(FILES include/zucharset.h TYPE INCLUDE COMPONENT development)
if(TARGET zucharset_cli)
    set_target_properties(zucharset_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
    install(TARGETS zucharset_cli RUNTIME COMPONENT command)
    install(FILES man/zucharset.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command)
endif()

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zucharset)
set(generated ${CMAKE_BINARY_DIR}/packaging)
configure_package_config_file(cmake/zucharset-config.cmake.in ${generated}/zucharset-config.cmake
    INSTALL_DESTINATION ${config_dir}
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${generated}/zucharset-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${generated}/zucharset-config.cmake ${generated}/zucharset-config-version.cmake
    DESTINATION ${config_dir} COMPONENT development)

file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(packaging/zucharset.pc.in ${generated}/zucharset.pc @ONLY)
install(FILES ${generated}/zucharset.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# --- Packages ---
include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)

# --- Examples ---
option(ZUCHARSET_EXAMPLES "Build the example programs" ${ZUCHARSET_TESTS})
if(ZUCHARSET_EXAMPLES)
    add_subdirectory(examples)
endif()

# --- Reference of the header, as HTML: cmake --build FOLDER --target doc ---
find_program(DOXYGEN doxygen)
if(DOXYGEN)
    configure_file(docs/Doxyfile.in ${CMAKE_BINARY_DIR}/Doxyfile @ONLY)
    add_custom_target(doc COMMAND ${DOXYGEN} ${CMAKE_BINARY_DIR}/Doxyfile
        COMMENT "Reference in ${CMAKE_BINARY_DIR}/reference/html" VERBATIM)
endif()
