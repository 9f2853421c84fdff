# The Debian packages, one for each component. packaging/build-packages.sh makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zucharset)
# Each package has a description of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "the zucharset maintainers")
set(CPACK_PACKAGE_CONTACT "zucharset maintainers <maintainers@zucharset.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime standin development command)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/dependencies.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/prepare_package.cmake)
set(CPACK_ZUCHARSET_SOURCE ${CMAKE_SOURCE_DIR})
set(CPACK_ZUCHARSET_BUILD ${CMAKE_BINARY_DIR})
set(CPACK_ZUCHARSET_READELF ${CMAKE_READELF})
string(REGEX MATCH "^[0-9]+" CPACK_ZUCHARSET_COMPILER ${CMAKE_CXX_COMPILER_VERSION})
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR STREQUAL arm)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# Without a version in the library's file name, the record's version word (1) stands for its interface.
set(runtime_package libzucharset1)
set(exact "${runtime_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libvemora-utils-standin | libvemora-utils")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Character-set detection and conversion to UTF-8 - library
Names the encoding of subtitles and other text, and converts 31 encodings to
UTF-8. It is a shared library with a C interface for media players.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)

set(CPACK_DEBIAN_STANDIN_PACKAGE_NAME libvemora-utils-standin)
set(CPACK_DEBIAN_STANDIN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_STANDIN_PACKAGE_PROVIDES libvemora-utils)
set(CPACK_DEBIAN_STANDIN_PACKAGE_CONFLICTS libvemora-utils)
set(CPACK_DEBIAN_STANDIN_PACKAGE_REPLACES libvemora-utils)
set(CPACK_DEBIAN_STANDIN_DESCRIPTION "Stand-in for a media player's utility library
The log sink and the bounded memory functions that libzucharset calls, for
machines without a player that brings its own. A player's package of the
virtual name libvemora-utils takes its place.")
set(CPACK_DEBIAN_STANDIN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzucharset-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${exact}")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Character-set detection and conversion to UTF-8 - development files
The C header, which is also the manual of the interface, with a CMake package
and a pkg-config file.")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME zucharset)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION text)
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${exact}")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "Name the encoding of subtitle files and convert them to UTF-8
The zucharset command detects the encoding of text files, converts them to
UTF-8 and tells where text would be lost.")

include(CPack)
