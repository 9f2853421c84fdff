# The Debian packages, one for each component. packaging/build-packages.sh makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zucharset)
# Each package has a description of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "the zucharset maintainers")
set(CPACK_PACKAGE_CONTACT "zucharset maintainers <zucharset@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/dependencies.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/prepare_package.cmake)
set(CPACK_ZUCHARSET_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_ZUCHARSET_BUILD ${PROJECT_BINARY_DIR})
set(CPACK_ZUCHARSET_READELF ${CMAKE_READELF})
string(REGEX MATCH "^[0-9]+" CPACK_ZUCHARSET_COMPILER ${CMAKE_CXX_COMPILER_VERSION})
if(CMAKE_CROSSCOMPILING)
    set(names_of_arm armhf)
    set(names_of_aarch64 arm64)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${names_of_${CMAKE_SYSTEM_PROCESSOR}})
endif()
set(CPACK_COMPONENTS_ALL "")

# What lintian says and what holds all the same, each with its reason.
set(common_overrides
    "# The project has no domain of its own and makes none up: mail stays on the machine."
    "bogus-mail-host *"
    "bogus-mail-host-in-debian-changelog *"
    "# No bug asks for these packages: they are not uploaded to Debian."
    "initial-upload-closes-no-bugs *")
set(library_overrides
    "# Hosts load the library by this name. Its interface's version stands in what it exports, and in the package's name."
    "package-name-doesnt-match-sonames *"
    "shared-library-lacks-version *")

# debian_package(COMPONENT NAME SECTION MULTI_ARCH
#     [DEPENDS PACKAGE...]      packages of this project or of others; the system's libraries are found out
#     [REPLACES NAME]           a virtual name that only one installed package may have
#     [ARCHITECTURE_ALL]        one package for all architectures
#     [LINK PATH TARGET]        a symbolic link that the package has besides
#     [SCRIPTS FILE...]         what dpkg runs, by dpkg's names for them
#     [BINARIES FILE...]        what is built of it, in the build folder, in C; CXX_BINARIES: in C++
# Section libs brings what every package of a library has.
#     DESCRIPTION SUMMARY LONG)
macro(debian_package component name section multi_arch)
    cmake_parse_arguments(arg ARCHITECTURE_ALL REPLACES
        "DEPENDS;LINK;SCRIPTS;BINARIES;CXX_BINARIES;DESCRIPTION" ${ARGN})
    string(TOUPPER ${component} upper)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    # CPack writes the field as it is, and has no variable for the one behind it before CMake 3.31.
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}\nMulti-Arch: ${multi_arch}")
    if(arg_ARCHITECTURE_ALL)
        set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all)
    endif()
    list(JOIN arg_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
    foreach(field PROVIDES CONFLICTS REPLACES)
        set(CPACK_DEBIAN_${upper}_PACKAGE_${field} ${arg_REPLACES})
    endforeach()
    list(JOIN arg_DESCRIPTION "\n" CPACK_DEBIAN_${upper}_DESCRIPTION)
    set(overrides ${common_overrides})
    set(control ${arg_SCRIPTS})
    if("${section}" STREQUAL libs)
        list(APPEND overrides ${library_overrides})
        list(APPEND control triggers)
    endif()
    list(TRANSFORM control PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${control})
    set(CPACK_ZUCHARSET_${upper}_LINK ${arg_LINK})
    set(CPACK_ZUCHARSET_${upper}_BINARIES ${arg_BINARIES})
    set(CPACK_ZUCHARSET_${upper}_CXX_BINARIES ${arg_CXX_BINARIES})
    set(CPACK_ZUCHARSET_${upper}_OVERRIDES ${overrides})
endmacro()
set(exactly "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# Without a version in the library's file name, the record's version word (1) stands for its interface.
debian_package(runtime libzucharset1 libs same
    BINARIES libzucharset.so
    DEPENDS "libvemora-utils-standin | libvemora-utils"
    DESCRIPTION "Character-set detection and conversion to UTF-8 - library"
        "Names the encoding of subtitles and other text, and converts 31 encodings to"
        "UTF-8. It is a shared library with a C interface for media players.")

debian_package(text libzutext1 libs same
    BINARIES libzutext.so
    DEPENDS "libzucharset1 ${exactly}"
    DESCRIPTION "Text of unknown encoding to UTF-8, as a person would read it - library"
        "Finds the encoding that makes sense of a text, says how sure that is,"
        "converts it to well-formed UTF-8 and keeps an exact account of what is lost.")

debian_package(standin libvemora-utils-standin libs same
    BINARIES libvemora_utils.so
    REPLACES libvemora-utils
    DESCRIPTION "Stand-in for a media player's utility library"
        "The log sink and the bounded memory functions that libzucharset calls, for"
        "machines without a player that brings its own. A player's package of the"
        "virtual name libvemora-utils takes its place.")

debian_package(standin_development libvemora-utils-standin-dev libdevel same
    DEPENDS "libvemora-utils-standin ${exactly}"
    REPLACES libvemora-utils-dev
    DESCRIPTION "Stand-in for a media player's utility library - header"
        "The functions that a media player's own utility library has to offer to"
        "libzucharset, as a C header.")

debian_package(development libzucharset-dev libdevel same
    DEPENDS "libzucharset1 ${exactly}" "libzutext1 ${exactly}"
    DESCRIPTION "Character-set detection and conversion to UTF-8 - development files"
        "The C headers, which are also the manual of the interface, with a CMake"
        "package and pkg-config files.")

debian_package(command zucharset text foreign
    CXX_BINARIES zucharset
    DEPENDS "libzucharset1 ${exactly}" "libzutext1 ${exactly}"
    DESCRIPTION "Name the encoding of subtitle files and convert them to UTF-8"
        "The zucharset command detects the encoding of text files, converts them to"
        "UTF-8 and tells where text would be lost.")

# mpv takes the scripts in /etc/mpv/scripts for all users.
debian_package(mpv zucharset-mpv video foreign
    ARCHITECTURE_ALL
    LINK etc/mpv/scripts/zucharset.lua /usr/share/zucharset/mpv/zucharset.lua
    DEPENDS "zucharset (>= ${PROJECT_VERSION})" mpv
    DESCRIPTION "Subtitles of any encoding in mpv"
        "A script for the media player mpv that finds the encoding of external"
        "subtitles and shows them right, whatever mpv's own guess is. A key shows the"
        "next reading that makes sense of a text.")

debian_package(python python3-zucharset python foreign
    ARCHITECTURE_ALL
    SCRIPTS python3-zucharset/postinst python3-zucharset/prerm
    DEPENDS "python3 (>= 3.9)" "libzutext1 (>= ${PROJECT_VERSION})"
    DESCRIPTION "Text of unknown encoding to UTF-8 - Python package"
        "Opens and decodes text in Python whatever its encoding, and says how sure"
        "that is. It calls libzutext, so that it reads a text as the zucharset command"
        "does.")

include(CPack)
