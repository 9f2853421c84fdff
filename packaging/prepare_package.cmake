# Run by CPack between the installation and the making of the packages: what Debian wants besides the files, and in the
# form it wants.
# Packages of several architectures must agree in these files to be installed together, so the date is that of the
# source, SOURCE_DATE_EPOCH in the environment.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

function(compress file)
    execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(usr ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
    set(doc ${usr}/share/doc/${package})
    configure_file(${CPACK_ZUCHARSET_SOURCE}/LICENSE ${doc}/copyright COPYONLY)
    configure_file(${CPACK_ZUCHARSET_SOURCE}/NOTICE ${doc}/NOTICE COPYONLY)
    file(WRITE ${doc}/changelog.Debian
        "${package} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
        "  * See the project's change log.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    compress(${doc}/changelog.Debian)
    configure_file(${CPACK_ZUCHARSET_SOURCE}/CHANGELOG.md ${doc}/changelog COPYONLY)
    compress(${doc}/changelog)
    file(GLOB pages ${usr}/share/man/man1/*.1)
    foreach(page IN LISTS pages)
        compress(${page})
    endforeach()
    if(CPACK_ZUCHARSET_${upper}_LINK)
        list(GET CPACK_ZUCHARSET_${upper}_LINK 0 path)
        list(GET CPACK_ZUCHARSET_${upper}_LINK 1 target)
        cmake_path(ABSOLUTE_PATH path BASE_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}/${component})
        cmake_path(GET path PARENT_PATH folder)
        file(MAKE_DIRECTORY ${folder})
        file(CREATE_LINK ${target} ${path} SYMBOLIC)
    endif()
    if(CPACK_ZUCHARSET_${upper}_OVERRIDES)
        set(overrides "")
        foreach(line IN LISTS CPACK_ZUCHARSET_${upper}_OVERRIDES)
            if(NOT line MATCHES "^#")
                set(line "${package}: ${line}")
            endif()
            string(APPEND overrides "${line}\n")
        endforeach()
        file(WRITE ${usr}/share/lintian/overrides/${package} "${overrides}")
    endif()
endforeach()
